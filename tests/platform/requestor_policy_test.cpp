// The policy for the signer of a request: a correct chain to a trusted root, valid now and not revoked.
#include <gtest/gtest.h>

#include "tests/platform/trust_fixture.h"

namespace testkit {
namespace {

TEST(RequestorPolicy, RequiresATrustedChainValidNowAndNotRevoked) {
    const Pki& pki = Pki::shared();
    const TrustWorld world({pki.root});
    const Bytes rootCrl = makeCrl(pki.root, {});
    const Identity revokedCa = issueCa(pki.ca, "revoked CA");
    const Identity underRevokedCa = issue(revokedCa, {});
    const Bytes caCrl = makeCrl(pki.ca, {.revokedSerials = {pki.revoked.serial(), revokedCa.serial()}});
    const Bytes revokedCaCrl = makeCrl(revokedCa, {});
    constexpr long kNextYear = 365L * 24 * 3600;
    CertificateSpec expired;
    expired.notAfterSeconds = -60;
    struct Row {
        const char* name;
        ChainRequest request;
        DWORD error;
    };
    constexpr DWORD kOffline = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    constexpr DWORD kChecked = kOffline | CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT;
    const Row rows[] = {
        {"good", {pki.good, {pki.ca}, {rootCrl, caCrl}, kChecked}, 0},
        {"revoked", {pki.revoked, {pki.ca}, {rootCrl, caCrl}, kChecked}, CRYPT_E_REVOKED},
        {"no CRL", {pki.good, {pki.ca}, {caCrl}, kChecked}, CRYPT_E_NO_REVOCATION_CHECK},
        {"revocation not asked", {pki.good, {pki.ca}, {rootCrl, caCrl}, kOffline}, CRYPT_E_NO_REVOCATION_CHECK},
        {"revoked CA",
         {underRevokedCa, {revokedCa, pki.ca}, {rootCrl, caCrl, revokedCaCrl}, kChecked},
         CRYPT_E_REVOKED},
        {"the trusted root itself", {pki.root, {}, {}, kChecked}, 0},
        {"expired", {issue(pki.ca, expired), {pki.ca}, {rootCrl, caCrl}, kChecked}, CERT_E_EXPIRED},
        {"expired, judged for a time before",
         {issue(pki.ca, expired), {pki.ca}, {rootCrl, caCrl}, kChecked, -120},
         CERT_E_EXPIRED},
        {"good, judged for a time after", {pki.good, {pki.ca}, {rootCrl, caCrl}, kChecked, kNextYear}, CERT_E_EXPIRED},
        {"untrusted", {issue(pki.sameNameCa, {}), {pki.sameNameCa}, {}, kChecked}, CERT_E_UNTRUSTEDROOT},
        {"no issuer", {pki.good, {}, {}, kChecked}, CERT_E_CHAINING},
        {"bad signature", {issue(pki.sameNameCa, {}), {pki.ca}, {}, kChecked}, TRUST_E_CERT_SIGNATURE},
        {"issued by an end certificate",
         {issue(pki.good, {}), {pki.good, pki.ca}, {rootCrl, caCrl}, kChecked},
         TRUST_E_BASIC_CONSTRAINTS},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const ChainPtr chain = chainOf(row.request);
        CERT_CHAIN_POLICY_PARA parameters{sizeof parameters, OCSP_REQUESTOR_POLICY_FLAG, nullptr};
        CERT_CHAIN_POLICY_STATUS status{sizeof status, 0, 0, 0, nullptr};
        ASSERT_NE(chain, nullptr);
        EXPECT_TRUE(
            CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_OCSP_REQUESTOR, chain.get(), &parameters, &status));
        EXPECT_EQ(status.dwError, row.error);
    }
}

}  // namespace
}  // namespace testkit
