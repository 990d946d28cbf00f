// A responder's certificate and its issuer, edited by the input, through chain and policy. Random bytes rarely pass the
// signatures, so the harness starts from a good chain. It also knows the result: after any edit the responder must not
// be authorised.
#include <cstdlib>

#include "tests/platform/trust_fixture.h"

namespace {

using testkit::Bytes;
using testkit::Identity;

constexpr std::size_t kEditSize = 4;  // which certificate, where (two octets), the new octet

struct World {
    const testkit::Pki& pki = testkit::Pki::shared();
    testkit::TrustWorld machine{{pki.root}};
    testkit::CertIdSpec asked = testkit::certIdOf(pki.good, pki.ca);
};

OCSP_CERT_ID entryOf(testkit::CertIdSpec& id) {
    const auto blob = [](Bytes& bytes) { return CRYPT_HASH_BLOB{static_cast<DWORD>(bytes.size()), bytes.data()}; };
    return {{id.hashOid.data(), {}}, blob(id.issuerNameHash), blob(id.issuerKeyHash), blob(id.serial)};
}

bool isAuthorized(World& world, const Identity& responder, const Identity& issuer) {
    const testkit::ChainPtr chain =
        testkit::chainOf({.end = responder,
                          .extra = {issuer},
                          .flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CHAIN});
    FILETIME producedAt = testkit::fileTime(0);
    OCSP_CERT_ID entry = entryOf(world.asked);
    int authorized = 0;
    OCSPChainPolicyPara question{sizeof question, &producedAt, 1, &entry, nullptr};
    OCSPChainPolicyStatus result{sizeof result, 0, {}, 0, &authorized};
    CERT_CHAIN_POLICY_PARA parameters{sizeof parameters, 0, &question};
    CERT_CHAIN_POLICY_STATUS status{sizeof status, 0, 0, 0, &result};
    if (!CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_OCSP_RESPONDER, chain.get(), &parameters, &status)) {
        std::abort();
    }
    return status.dwError == 0 && authorized != 0;
}

bool isCertificate(const Identity& identity) {
    return testkit::context(identity.certificate) != nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static World world;
    Identity responder = world.pki.delegate;
    Identity issuer = world.pki.ca;
    for (; size >= kEditSize; data += kEditSize, size -= kEditSize) {
        Bytes& target = data[0] % 2 == 0 ? responder.certificate : issuer.certificate;
        target[(std::size_t{data[1]} << 8 | data[2]) % target.size()] = data[3];
    }
    const bool isEdited =
        responder.certificate != world.pki.delegate.certificate || issuer.certificate != world.pki.ca.certificate;
    if (isCertificate(responder) && isCertificate(issuer) && isAuthorized(world, responder, issuer) == isEdited) {
        std::abort();
    }
    return 0;
}
