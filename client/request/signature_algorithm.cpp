#include "client/request/signature_algorithm.h"

#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane {

namespace {

// Signatures are listed under the signing form of a key; a certificate may name the same key for key exchange.
ALG_ID signingForm(ALG_ID publicKey) {
    switch (publicKey) {
        case CALG_RSA_KEYX:
            return CALG_RSA_SIGN;
        case CALG_DH_SF:
            return CALG_DSS_SIGN;
        default:
            return publicKey;
    }
}

// The signature of this hash with this kind of key; null when the number is no hash or the pair has none.
const CRYPT_OID_INFO* signatureWith(ALG_ID algorithm, ALG_ID publicKey) {
    const CRYPT_OID_INFO* hash = CryptFindOIDInfo(CRYPT_OID_INFO_ALGID_KEY, &algorithm, CRYPT_HASH_ALG_OID_GROUP_ID);
    if (hash == nullptr) {
        return nullptr;
    }
    ALG_ID pair[] = {hash->Algid, publicKey};
    return CryptFindOIDInfo(CRYPT_OID_INFO_SIGN_KEY, pair, CRYPT_SIGN_ALG_OID_GROUP_ID);
}

}  // namespace

std::string GetSignAlg(unsigned long long provider, const _CERT_CONTEXT* certificate) {
    const ALG_ID named = CertOIDToAlgId(certificate->pCertInfo->SubjectPublicKeyInfo.Algorithm.pszObjId);
    if (named == 0) {
        ATL::AtlThrowImpl(status::kBadAlgorithm);
    }
    const ALG_ID publicKey = signingForm(named);
    for (DWORD flag = CRYPT_FIRST;; flag = 0) {
        PROV_ENUMALGS algorithm{};
        DWORD size = sizeof algorithm;
        if (!CryptGetProvParam(provider, PP_ENUMALGS, reinterpret_cast<BYTE*>(&algorithm), &size, flag)) {
            ATL::AtlThrowImpl(status::kBadAlgorithm);
        }
        if (const CRYPT_OID_INFO* signature = signatureWith(algorithm.aiAlgid, publicKey); signature != nullptr) {
            return signature->pszOID;
        }
    }
}

}  // namespace Orvane
