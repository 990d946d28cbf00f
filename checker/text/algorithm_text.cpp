#include "checker/text/algorithm_text.h"

#include "checker/text/safe_text.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::text {

namespace {

// The algorithms whose hash OpenSSL gets from an engine.
constexpr const char* kGostArc = "1.2.643.";

bool isInstalled(ALG_ID hash) {
    unsigned char octets[64];
    DWORD size = sizeof octets;
    return CryptHashCertificate(0, hash, 0, nullptr, 0, octets, &size) != FALSE;
}

}  // namespace

std::string algorithmProblem(const std::string& oid) {
    std::string key = oid;
    const auto* const known = CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, key.data(), CRYPT_SIGN_ALG_OID_GROUP_ID);
    if (known == nullptr) {
        return "the signature algorithm " + safeLine(oid) + " is not known here; have it signed with another one";
    }
    const std::string named = "the signature algorithm " + utf8(known->pwszName) + " (" + oid + ")";
    if (oid.starts_with(kGostArc) && !isInstalled(known->Algid)) {
        return named + " needs the gost engine of OpenSSL; install the package libengine-gost-openssl";
    }
    switch (known->Algid) {
        case CALG_SHA1:
            return named + " uses SHA-1; accept it with the setting accept_sha1 if you must";
        case CALG_MD2:
        case CALG_MD4:
        case CALG_MD5:
            return named + " is too weak to prove anything; have it signed with another one";
        default:
            return {};
    }
}

}  // namespace tallow::text
