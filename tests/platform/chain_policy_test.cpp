// The trust decision: which responders may answer for which certificates.
#include <gtest/gtest.h>

#include <functional>

#include "tests/platform/trust_fixture.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

int sayYes(PCCERT_CONTEXT) {
    return 1;
}
int sayNo(PCCERT_CONTEXT) {
    return 0;
}

struct Question {
    Identity responder;
    std::vector<CertIdSpec> entries;
    std::vector<Identity> extra = {};
    std::vector<Bytes> crls = {};
    long producedAtSeconds = 0;
    DWORD chainFlags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    std::optional<long> chainAtSeconds = std::nullopt;
    PFN_IS_OCSP_AUTHORIZED isNamed = sayNo;
};

struct Verdict {
    DWORD error;
    DWORD mask;
    bool noCheck;
    std::vector<int> authorized;
};

Verdict judge(const Question& question) {
    const ChainPtr chain = chainOf({.end = question.responder,
                                    .extra = question.extra,
                                    .crls = question.crls,
                                    .flags = question.chainFlags,
                                    .atSeconds = question.chainAtSeconds});
    std::vector<OCSP_CERT_ID> entries;
    for (const CertIdSpec& id : question.entries) {
        entries.push_back({{const_cast<char*>(id.hashOid.c_str()), {}},
                           blobOf(id.issuerNameHash),
                           blobOf(id.issuerKeyHash),
                           blobOf(id.serial)});
    }
    std::vector<int> authorized(entries.size(), 7);  // to notice entries that the policy does not write
    FILETIME producedAt = fileTime(question.producedAtSeconds);
    OCSPChainPolicyPara extra{sizeof extra, &producedAt, static_cast<DWORD>(entries.size()), entries.data(),
                              question.isNamed};
    OCSPChainPolicyStatus result{};
    result.cbSize = sizeof result;
    result.rgAuthorized = authorized.data();
    CERT_CHAIN_POLICY_PARA parameters{sizeof parameters, 0, &extra};
    CERT_CHAIN_POLICY_STATUS status{sizeof status, 0, 0, 0, &result};
    EXPECT_TRUE(CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_OCSP_RESPONDER, chain.get(), &parameters, &status));
    return {status.dwError, result.dwError, result.fNoCheck != 0, authorized};
}

const CertificateSpec kDelegate{
    .commonName = "responder", .keyUsage = "critical,digitalSignature", .extendedKeyUsage = "OCSPSigning"};
const CertificateSpec kVersionOne{.version = 1, .keyIdentifiers = false};

using Change = std::function<void(CertificateSpec&)>;

Identity delegateOf(
    const Identity& issuer, const Change& change = [](CertificateSpec&) {}) {
    CertificateSpec spec = kDelegate;
    change(spec);
    return issue(issuer, spec);
}

// A delegate whose signature has one unused bit. The bit is 0, so the octets do not change.
Identity withUnusedBit(const Identity& issuer) {
    Identity delegate = delegateOf(issuer);
    while ((delegate.certificate.back() & 1) != 0) {
        delegate = delegateOf(issuer);
    }
    Bytes& der = delegate.certificate;
    std::size_t at = der.size() - 1;
    while (der[at] != 0x03 || der[at + 1] != der.size() - at - 2 || der[at + 2] != 0) {
        --at;
    }
    der[at + 2] = 1;
    return delegate;
}

// Revocation was not checked: set on every chain without CRLs.
constexpr DWORD kOpen = OCSP_CHAIN_REVOCATION_UNKNOWN;

class ResponderPolicy : public ::testing::Test {
protected:
    const Pki& pki = Pki::shared();
    TrustWorld world{{pki.root}};
    const CertIdSpec asked = certIdOf(pki.good, pki.ca);
};

struct RefusalRow {
    const char* name;
    Question question;
    DWORD mask;       // with only kOpen, rgAuthorized rejects
    DWORD error = 0;  // status.dwError; the mask is ignored when it is set
};

TEST_F(ResponderPolicy, RejectsUnauthorisedResponders) {
    const auto by = [&](Identity responder, std::vector<Identity> extra = {}) {
        extra.push_back(pki.ca);
        return Question{std::move(responder), {asked}, std::move(extra)};
    };
    const auto changed = [&](const Change& change) { return by(delegateOf(pki.ca, change)); };
    const auto withUsage = [&](const char* usage) {
        return changed([&](CertificateSpec& spec) { spec.extendedKeyUsage = usage; });
    };
    const auto withKeyUsage = [&](const char* usage) {
        return changed([&](CertificateSpec& spec) { spec.keyUsage = usage; });
    };
    const auto forOwnIssuer = [&](const Identity& issuer, std::vector<Identity> extra) {
        return Question{delegateOf(issuer), {certIdOf(pki.good, issuer)}, std::move(extra)};
    };
    const Identity rootedNamesake = issueCa(pki.root, "ca");
    const Identity renamedCa = caUnder(pki.root, {.key = pki.ca.key});
    const Identity madeUp = rootCa("made up");
    const Identity notSigning = caUnder(pki.root, {.keyUsage = "critical,digitalSignature,cRLSign"});
    const Identity encrypting = caUnder(pki.root, {.keyUsage = "keyEncipherment"});
    const Identity dsaCa = caUnder(pki.root, {.key = Key::make(KeyKind::kDsa1024)});
    const Identity delegateOfGood = delegateOf(pki.good);
    const Key weakKey = Key::make(KeyKind::kRsa512);
    const Identity trustedServer = selfSigned({});
    crypto_add_trusted_root(context(trustedServer.certificate).get());
    const Identity selfMadeCa = selfSigned(kVersionOne);
    const auto forIssued = [this](const Identity& responder) {
        return Question{responder, {certIdOf(pki.good, responder)}};
    };
    Question expiredSince = changed([](CertificateSpec& spec) { spec.notAfterSeconds = -60; });
    expiredSince.producedAtSeconds = -120;
    const Identity expiredCa = caUnder(pki.root, {.notAfterSeconds = -60});
    Question issuerExpiredSince = forOwnIssuer(expiredCa, {expiredCa});
    issuerExpiredSince.producedAtSeconds = -120;
    Question tooEarly = changed([](CertificateSpec& spec) { spec.notBeforeSeconds = -8000; });
    tooEarly.producedAtSeconds = -7200;

    const RefusalRow rows[] = {
        {"delegate without extended key usage", withUsage(""), OCSP_CHAIN_WRONG_USAGE},
        {"anyExtendedKeyUsage", withUsage("2.5.29.37.0"), OCSP_CHAIN_WRONG_USAGE},
        {"other usages", withUsage("serverAuth,clientAuth"), OCSP_CHAIN_WRONG_USAGE},

        {"namesake of the issuer, self-made, in the response", by(delegateOf(pki.sameNameCa), {pki.sameNameCa}), 0,
         CERT_E_UNTRUSTEDROOT},
        {"namesake of the issuer, not in the response", by(delegateOf(pki.sameNameCa)), OCSP_CHAIN_NOT_SIGNATURE_VALID},
        {"namesake of the issuer under the trusted root", by(delegateOf(rootedNamesake), {rootedNamesake}), kOpen},
        {"the issuer's key under another name", by(delegateOf(renamedCa), {renamedCa}), kOpen},
        {"made-up issuer in the response", by(delegateOf(madeUp), {madeUp}), 0, CERT_E_UNTRUSTEDROOT},
        {"self-made delegate", by(selfSigned(kDelegate)), 0, CERT_E_UNTRUSTEDROOT},
        {"issuer not to be had", by(delegateOf(pki.subCa)), 0, CERT_E_CHAINING},

        {"delegate of the grandparent", by(delegateOf(pki.root)), kOpen},
        {"delegate of a CA below", by(delegateOf(pki.subCa), {pki.subCa}), kOpen},
        {"delegate that an end certificate issued", by(delegateOf(pki.good), {pki.good}), OCSP_CHAIN_INVALID},
        {"weak signature", changed([](CertificateSpec& spec) { spec.hash = "SHA1"; }), OCSP_CHAIN_NOT_SIGNATURE_VALID},
        {"weak key", changed([&](CertificateSpec& spec) { spec.key = weakKey; }), OCSP_CHAIN_NOT_SIGNATURE_VALID},
        {"issuer that may not sign certificates", forOwnIssuer(notSigning, {notSigning}), OCSP_CHAIN_INVALID},
        {"signature that does not end at an octet", by(withUnusedBit(pki.ca)), OCSP_CHAIN_NOT_SIGNATURE_VALID},

        {"a certificate that is no CA, for what it issued",
         {pki.good, {certIdOf(delegateOfGood, pki.good)}, {pki.ca}},
         OCSP_CHAIN_WRONG_USAGE},
        {"a trusted certificate that is no CA, for what it issued", forIssued(trustedServer), OCSP_CHAIN_WRONG_USAGE},
        {"a delegate, for what it issued", {pki.delegate, {certIdOf(pki.good, pki.delegate)}, {pki.ca}}, kOpen},
        {"an untrusted root of version 1", forIssued(selfMadeCa), 0, CERT_E_UNTRUSTEDROOT},
        {"an issuer that may not sign certificates", forIssued(notSigning), OCSP_CHAIN_WRONG_USAGE},
        {"an issuer whose key is for encryption", forIssued(encrypting), OCSP_CHAIN_WRONG_KEY_USAGE},
        {"an issuer whose key hash leaves its parameters open", forIssued(dsaCa), OCSP_CHAIN_WRONG_USAGE},
        {"a delegate of such an issuer", {delegateOf(dsaCa), {certIdOf(pki.good, dsaCa)}, {dsaCa}}, kOpen},
        {"a CA below the issuer", by(pki.subCa), OCSP_CHAIN_WRONG_USAGE},
        {"the root above the issuer", by(pki.root), OCSP_CHAIN_WRONG_USAGE},
        {"the asked certificate", by(pki.good), OCSP_CHAIN_WRONG_USAGE},

        {"expired at producedAt", changed([](CertificateSpec& spec) { spec.notAfterSeconds = -1; }),
         OCSP_CHAIN_NOT_TIME_VALID},
        {"expired since producedAt", expiredSince, OCSP_CHAIN_NOT_TIME_VALID},
        {"issuer expired since producedAt", issuerExpiredSince, OCSP_CHAIN_NOT_TIME_NESTED},
        {"not yet valid at producedAt", changed([](CertificateSpec& spec) { spec.notBeforeSeconds = 60; }),
         OCSP_CHAIN_NOT_TIME_VALID},
        {"issuer not yet valid at producedAt", tooEarly, OCSP_CHAIN_NOT_TIME_NESTED},
        {"key usage for encryption", withKeyUsage("critical,keyEncipherment"), OCSP_CHAIN_WRONG_KEY_USAGE},
        {"key that may sign certificates alone", withKeyUsage("keyCertSign,cRLSign"), OCSP_CHAIN_WRONG_KEY_USAGE},
    };
    for (const RefusalRow& row : rows) {
        SCOPED_TRACE(row.name);
        const Verdict verdict = judge(row.question);
        EXPECT_EQ(verdict.error, row.error);
        if (row.error == 0) {
            EXPECT_EQ(verdict.mask & row.mask, row.mask);
            EXPECT_TRUE(row.mask != kOpen || verdict.mask == kOpen) << verdict.mask;
        }
        EXPECT_EQ(verdict.authorized, std::vector<int>{0});
    }
}

TEST_F(ResponderPolicy, AcceptsIssuersDelegatesAndNamedResponders) {
    struct Row {
        const char* name;
        Question question;
        std::vector<int> authorized = {1};
    };
    const Identity strictCa = caUnder(pki.root, {.keyUsage = "critical,keyCertSign,cRLSign"});
    const Identity serverCa = caUnder(pki.root, {.extendedKeyUsage = "serverAuth"});
    const Identity renewed = caWithKey(pki.root, "ca", pki.ca.key);
    constexpr const char* kMd5Oid = "1.2.840.113549.2.5";
    constexpr const char* kSha224Oid = "2.16.840.1.101.3.4.2.4";
    const auto idWith = [&](const char* hash) { return certIdOf(pki.good, pki.ca, hash); };
    const Identity delegate = delegateOf(pki.ca);
    const Identity withFurtherUsages = delegateOf(pki.ca, [](CertificateSpec& spec) {
        spec.extendedKeyUsage = "critical,serverAuth,OCSPSigning";
        spec.keyUsage = "nonRepudiation";
    });
    const Identity expired = delegateOf(pki.ca, [](CertificateSpec& spec) { spec.notAfterSeconds = -60; });
    Question inTime{expired, {asked}, {pki.ca}};
    inTime.producedAtSeconds = -120;
    inTime.chainAtSeconds = -120;
    const Identity oldRoot = selfSigned(kVersionOne);
    crypto_add_trusted_root(context(oldRoot.certificate).get());
    Question named{pki.good, {asked, certIdOf(pki.ca, pki.root)}, {pki.ca}};
    named.isNamed = sayYes;

    const Row rows[] = {
        {"the issuer", {pki.ca, {asked}}},
        {"the issuer, with a key for certificates and CRLs only", {strictCa, {certIdOf(pki.good, strictCa)}}},
        {"the root for what it issued", {pki.root, {certIdOf(pki.ca, pki.root)}}},
        {"a delegate with further usages and nonRepudiation", {withFurtherUsages, {asked}, {pki.ca}}},
        // An issuer that may answer itself may also delegate.
        {"a delegate of a CA for servers", {delegateOf(serverCa), {certIdOf(pki.good, serverCa)}, {serverCa}}},
        {"a delegate, when the issuer has two certificates", {delegate, {asked}, {renewed, pki.ca}}},
        {"a trusted root of version 1, for what it issued", {oldRoot, {certIdOf(pki.good, oldRoot)}}},
        {"its delegate",
         {delegateOf(oldRoot, [](CertificateSpec& spec) { spec.keyIdentifiers = false; }),
          {certIdOf(pki.good, oldRoot)}}},
        {"a delegate that has expired since, by a chain for that time", inTime},
        {"entries by other hashes",
         {delegate, {idWith(kSha256Oid), idWith(kSha512Oid), idWith(kMd5Oid), idWith(kSha224Oid)}, {pki.ca}},
         {1, 1, 1, 1}},
        {"entries that change between hashes and issuers",
         {delegate,
          {idWith(kSha256Oid), asked, idWith(kSha256Oid), certIdOf(pki.good, pki.sibling, kSha256Oid), asked},
          {pki.ca}},
         {1, 1, 1, 0, 1}},
        {"entries of several issuers",
         {delegate, {asked, certIdOf(pki.good, pki.sibling), asked, certIdOf(pki.ca, pki.root)}, {pki.ca}},
         {1, 0, 1, 0}},
        {"an issuer, for its own entry only",
         {pki.sibling, {certIdOf(pki.good, pki.sibling), asked}, {pki.ca}},
         {1, 0}},
        {"named by the administrator, whoever issued it", named, {1, 1}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Verdict verdict = judge(row.question);
        EXPECT_EQ(verdict.error, 0U);
        EXPECT_EQ(verdict.mask & ~kOpen, 0U);
        EXPECT_EQ(verdict.authorized, row.authorized);
    }
}

TEST_F(ResponderPolicy, RejectsUnknownAndIncompleteHashes) {
    std::vector<CertIdSpec> entries(7, asked);
    entries[0].hashOid = "1.2.3.4";
    entries[1].hashOid = kSha256Oid;
    entries[2].issuerKeyHash.pop_back();
    entries[3].issuerKeyHash.clear();
    entries[3].issuerNameHash.clear();
    entries[4].issuerKeyHash.back() ^= 1;
    entries[5].issuerNameHash.back() ^= 1;
    EXPECT_EQ(judge({delegateOf(pki.ca), entries, {pki.ca}}).authorized, (std::vector<int>{0, 0, 0, 0, 0, 0, 1}));
}

TEST_F(ResponderPolicy, ReportsNoCheckAndRevocation) {
    const auto mark = [](CertificateSpec& spec) { spec.ocspNoCheck = true; };
    const auto noCheckOf = [&](const Identity& responder, PFN_IS_OCSP_AUTHORIZED isNamed) {
        return judge({.responder = responder, .entries = {asked}, .extra = {pki.ca}, .isNamed = isNamed}).noCheck;
    };
    EXPECT_TRUE(noCheckOf(delegateOf(pki.ca, mark), sayNo));
    EXPECT_FALSE(noCheckOf(delegateOf(pki.ca), sayNo));
    const auto oddly = [](CertificateSpec& spec) { spec.extensions = {{"1.3.6.1.5.5.7.48.1.5", Bytes{4, 0}}}; };
    EXPECT_FALSE(noCheckOf(delegateOf(pki.ca, oddly), sayNo)) << "the value must be NULL";
    EXPECT_FALSE(noCheckOf(issue(pki.ca, {.ocspNoCheck = true}), sayYes)) << "named by the administrator";
    const Identity markedCa = caUnder(pki.root, {.extendedKeyUsage = "OCSPSigning", .ocspNoCheck = true});
    EXPECT_FALSE(judge({markedCa, {certIdOf(pki.good, markedCa)}}).noCheck) << "only a delegate may carry the mark";

    const Identity delegate = delegateOf(pki.ca);
    const Bytes rootCrl = makeCrl(pki.root, {});
    Question question{delegate, {asked}, {pki.ca}, {rootCrl, makeCrl(pki.ca, {})}};
    question.chainFlags |= CERT_CHAIN_REVOCATION_CHECK_CHAIN;
    EXPECT_EQ(judge(question).mask, 0U);
    question.crls = {rootCrl, makeCrl(pki.ca, {.revokedSerials = {delegate.serial()}})};
    const Verdict revoked = judge(question);
    EXPECT_EQ(revoked.mask, OCSP_CHAIN_REVOKED);
    EXPECT_EQ(revoked.authorized, std::vector<int>{0});
}

TEST_F(ResponderPolicy, RejectsMalformedParametersAndOtherPolicies) {
    const ChainPtr chain = chainOf({.end = pki.delegate, .extra = {pki.ca}});
    OCSPChainPolicyPara noTime{sizeof noTime, nullptr, 0, nullptr, nullptr};
    OCSPChainPolicyStatus result{sizeof result, 0, {}, 0, nullptr};
    CERT_CHAIN_POLICY_PARA parameters{sizeof parameters, 0, &noTime};
    CERT_CHAIN_POLICY_STATUS status{sizeof status, 0, 0, 0, &result};
    for (const auto& [policy, error] : {std::pair(CERT_CHAIN_POLICY_OCSP_RESPONDER, E_INVALIDARG),
                                        std::pair("{00000000-0000-0000-0000-000000000000}", ERROR_FILE_NOT_FOUND),
                                        std::pair(reinterpret_cast<const char*>(1), ERROR_FILE_NOT_FOUND)}) {
        EXPECT_FALSE(CertVerifyCertificateChainPolicy(policy, chain.get(), &parameters, &status));
        EXPECT_EQ(GetLastError(), error);
    }
}

// The signer of a request needs a correct chain to a trusted root, valid now and not revoked.
TEST(RequestorPolicy, RequiresATrustedChainValidNowAndNotRevoked) {
    const Pki& pki = Pki::shared();
    const TrustWorld world({pki.root});
    const Identity revokedCa = issueCa(pki.ca, "revoked CA");
    const Bytes caCrl = makeCrl(pki.ca, {.revokedSerials = {pki.revoked.serial(), revokedCa.serial()}});
    const std::vector<Bytes> crls{makeCrl(pki.root, {}), caCrl, makeCrl(revokedCa, {})};
    constexpr long kNextYear = 365L * 24 * 3600;
    const Identity expired = issue(pki.ca, {.notAfterSeconds = -60});
    const Identity forged = issue(pki.sameNameCa, {});
    struct Row {
        const char* name;
        ChainRequest request;
        DWORD error;
    };
    constexpr DWORD kChecked = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT;
    const Row rows[] = {
        {"good", {pki.good, {pki.ca}, crls, kChecked}, 0},
        {"revoked", {pki.revoked, {pki.ca}, crls, kChecked}, CRYPT_E_REVOKED},
        {"no CRL", {pki.good, {pki.ca}, {caCrl}, kChecked}, CRYPT_E_NO_REVOCATION_CHECK},
        {"revocation not asked", {pki.good, {pki.ca}, crls}, CRYPT_E_NO_REVOCATION_CHECK},
        {"revoked CA", {issue(revokedCa, {}), {revokedCa, pki.ca}, crls, kChecked}, CRYPT_E_REVOKED},
        {"the trusted root itself", {pki.root, {}, {}, kChecked}, 0},
        {"expired", {expired, {pki.ca}, crls, kChecked}, CERT_E_EXPIRED},
        {"expired, at a time before", {expired, {pki.ca}, crls, kChecked, -120}, CERT_E_EXPIRED},
        {"good, at a time after", {pki.good, {pki.ca}, crls, kChecked, kNextYear}, CERT_E_EXPIRED},
        {"untrusted", {forged, {pki.sameNameCa}, {}, kChecked}, CERT_E_UNTRUSTEDROOT},
        {"no issuer", {pki.good, {}, {}, kChecked}, CERT_E_CHAINING},
        {"bad signature", {forged, {pki.ca}, {}, kChecked}, TRUST_E_CERT_SIGNATURE},
        {"issued by an end certificate",
         {issue(pki.good, {}), {pki.good, pki.ca}, crls, kChecked},
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
