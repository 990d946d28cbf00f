#include "checker/text/algorithm_text.h"

#include "checker/text/safe_text.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::text {

namespace {

// The algorithms whose hash OpenSSL gets from an engine.
constexpr const char* kGostArc = "1.2.643.";

bool isEngineInstalled() {
    unsigned char octets[64];
    DWORD size = sizeof octets;
    return CryptHashCertificate(0, CALG_GR3411_2012_256, 0, nullptr, 0, octets, &size) != FALSE;
}

}  // namespace

std::string missingEngine(const std::string& oid) {
    std::string key = oid;
    const auto* const known =
        oid.starts_with(kGostArc) ? CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, key.data(), 0) : nullptr;
    if (known == nullptr || isEngineInstalled()) {
        return {};
    }
    const char* const kind = known->dwGroupId == CRYPT_HASH_ALG_OID_GROUP_ID     ? "the hash "
                             : known->dwGroupId == CRYPT_PUBKEY_ALG_OID_GROUP_ID ? "a key of the type "
                                                                                 : "the signature algorithm ";
    return kind + utf8(known->pwszName) + " (" + oid +
           ") needs the gost engine of OpenSSL; install the package libengine-gost-openssl";
}

std::string algorithmProblem(const std::string& oid) {
    std::string key = oid;
    const auto* const known = CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, key.data(), CRYPT_SIGN_ALG_OID_GROUP_ID);
    if (known == nullptr) {
        return "the signature algorithm " + safeLine(oid) + " is not known here; have it signed with another one";
    }
    if (std::string missing = missingEngine(oid); !missing.empty()) {
        return missing;
    }
    const std::string named = "the signature algorithm " + utf8(known->pwszName) + " (" + oid + ")";
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
