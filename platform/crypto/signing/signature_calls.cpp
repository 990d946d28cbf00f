// The exported functions that hash, sign and check encoded structures.
#include <openssl/asn1.h>
#include <openssl/objects.h>

#include <algorithm>
#include <array>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/keys/algorithms.h"
#include "platform/crypto/keys/public_key.h"
#include "platform/crypto/keys/signature.h"
#include "platform/crypto/signing/provider.h"

using namespace tallow::platform;

namespace {

// The subject of a signature check in its parts; 0 or the last error to set. `oid` keeps the text alive.
DWORD readSubject(DWORD type, const void* subject, SignedBytes& parts, std::string& oid) {
    switch (type) {
        case CRYPT_VERIFY_CERT_SIGN_SUBJECT_BLOB:
            return splitSigned(view(*static_cast<const CRYPT_DATA_BLOB*>(subject)), parts, oid) ? 0
                                                                                                : CRYPT_E_ASN1_ERROR;
        case CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT: {
            const Certificate& certificate = *Certificate::of(static_cast<PCCERT_CONTEXT>(subject));
            if (!splitSigned(certificate.der(), parts, oid)) {
                return CRYPT_E_ASN1_ERROR;
            }
            // A certificate names its algorithm twice, and only the inner copy is signed (RFC 5280, 4.1.1.2). The
            // identifiers were compared when it was read.
            return std::ranges::equal(view(parts.algorithm.Parameters),
                                      view(certificate.info().SignatureAlgorithm.Parameters))
                       ? 0
                       : NTE_BAD_SIGNATURE;
        }
        case CRYPT_VERIFY_CERT_SIGN_SUBJECT_OCSP_BASIC_SIGNED_RESPONSE: {
            const auto& info = *static_cast<const OCSP_BASIC_SIGNED_RESPONSE_INFO*>(subject);
            parts.message = view(info.ToBeSigned);
            parts.algorithm = info.SignatureInfo.SignatureAlgorithm;
            parts.signature = {info.SignatureInfo.Signature.pbData, info.SignatureInfo.Signature.cbData};
            return info.SignatureInfo.Signature.cUnusedBits == 0 ? 0 : NTE_BAD_SIGNATURE;
        }
        default:
            return E_INVALIDARG;
    }
}

using ObjectPtr = std::unique_ptr<ASN1_OBJECT, OpenSslFree<ASN1_OBJECT_free>>;
using StringPtr = std::unique_ptr<ASN1_STRING, OpenSslFree<ASN1_STRING_free>>;
using TypePtr = std::unique_ptr<ASN1_TYPE, OpenSslFree<ASN1_TYPE_free>>;
using PublicKeyPtr = std::unique_ptr<X509_PUBKEY, OpenSslFree<X509_PUBKEY_free>>;

// The parameters of an algorithm if they are a SEQUENCE, as for every kind of key that needs this.
StringPtr sequenceParameters(const CRYPT_OBJID_BLOB& parameters) {
    const unsigned char* position = parameters.pbData;
    const TypePtr type(parameters.cbData == 0 ? nullptr : d2i_ASN1_TYPE(nullptr, &position, parameters.cbData));
    return StringPtr(type == nullptr || type->type != V_ASN1_SEQUENCE ? nullptr
                                                                      : ASN1_STRING_dup(type->value.sequence));
}

// The whole SubjectPublicKeyInfo of a record: the kinds of key that are not made from their numbers are read from it.
Bytes encodePublicKeyInfo(const CERT_PUBLIC_KEY_INFO& info) {
    const PublicKeyPtr key(X509_PUBKEY_new());
    ObjectPtr object(OBJ_txt2obj(info.Algorithm.pszObjId, 1));
    StringPtr parameters = sequenceParameters(info.Algorithm.Parameters);
    OpenSslBytesPtr bits(static_cast<unsigned char*>(OPENSSL_memdup(info.PublicKey.pbData, info.PublicKey.cbData)));
    const int type = parameters == nullptr ? V_ASN1_UNDEF : V_ASN1_SEQUENCE;
    if (key == nullptr || object == nullptr || bits == nullptr ||
        X509_PUBKEY_set0_param(key.get(), object.get(), type, parameters.get(), bits.get(),
                               static_cast<int>(info.PublicKey.cbData)) != 1) {
        return {};
    }
    // All three belong to the key now.
    static_cast<void>(object.release());
    static_cast<void>(parameters.release());
    static_cast<void>(bits.release());
    unsigned char* encoded = nullptr;
    const int size = i2d_X509_PUBKEY(key.get(), &encoded);
    const OpenSslBytesPtr owner(encoded);
    return size > 0 ? Bytes(encoded, encoded + size) : Bytes();
}

DWORD verifyWithCertificate(const SignedBytes& parts, PCCERT_CONTEXT issuer, Sha1 sha1) {
    return verifySignature(parts, Certificate::of(issuer)->publicKey(), sha1);
}

DWORD verifyWithIssuer(const SignedBytes& parts, DWORD type, const void* issuer, Sha1 sha1) {
    switch (type) {
        case CRYPT_VERIFY_CERT_SIGN_ISSUER_PUBKEY: {
            const auto& info = *static_cast<const CERT_PUBLIC_KEY_INFO*>(issuer);
            if (info.Algorithm.pszObjId == nullptr) {
                return E_INVALIDARG;
            }
            const KeyPtr key = loadPublicKey(info, encodePublicKeyInfo(info));
            return verifySignature(parts, key.get(), sha1);
        }
        case CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT:
            return verifyWithCertificate(parts, static_cast<PCCERT_CONTEXT>(issuer), sha1);
        case CRYPT_VERIFY_CERT_SIGN_ISSUER_CHAIN: {
            const auto* const chain = static_cast<PCCERT_CHAIN_CONTEXT>(issuer);
            if (chain->cChain == 0 || chain->rgpChain[0]->cElement == 0) {
                return E_INVALIDARG;
            }
            return verifyWithCertificate(parts, chain->rgpChain[0]->rgpElement[0]->pCertContext, sha1);
        }
        default:
            return E_INVALIDARG;
    }
}

}  // namespace

BOOL CryptHashCertificate(HCRYPTPROV /*hCryptProv*/, ALG_ID Algid, DWORD /*dwFlags*/, const BYTE* pbEncoded,
                          DWORD cbEncoded, BYTE* pbComputedHash, DWORD* pcbComputedHash) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (pcbComputedHash == nullptr || (pbEncoded == nullptr && cbEncoded != 0)) {
            return fail(E_INVALIDARG);
        }
        const Algorithm* const row = findHash(Algid == 0 ? CALG_SHA1 : Algid);
        const EVP_MD* const digest = row == nullptr ? nullptr : digestOf(*row);
        if (digest == nullptr) {
            return fail(NTE_BAD_ALGID);
        }
        std::array<BYTE, EVP_MAX_MD_SIZE> hash{};
        unsigned int size = 0;
        if (EVP_Digest(pbEncoded, cbEncoded, hash.data(), &size, digest, nullptr) != 1) {
            return fail(NTE_FAIL);
        }
        return done(giveBytes(ByteView(hash).first(size), pbComputedHash, pcbComputedHash));
    });
}

BOOL CryptSignCertificate(HCRYPTPROV hCryptProv, DWORD /*dwKeySpec*/, DWORD /*dwCertEncodingType*/,
                          const BYTE* pbEncodedToBeSigned, DWORD cbEncodedToBeSigned,
                          PCRYPT_ALGORITHM_IDENTIFIER pSignatureAlgorithm, const void* /*pvHashAuxInfo*/,
                          BYTE* pbSignature, DWORD* pcbSignature) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (hCryptProv == 0 || pbEncodedToBeSigned == nullptr || pSignatureAlgorithm == nullptr ||
            pcbSignature == nullptr) {
            return fail(E_INVALIDARG);
        }
        EVP_PKEY* key = nullptr;
        if (const DWORD code = Provider::of(hCryptProv)->privateKey(key); code != 0) {
            return fail(code);
        }
        if (pbSignature == nullptr) {
            *pcbSignature = maximumSignatureSize(key);
            return TRUE;
        }
        Bytes signature;
        const DWORD code =
            makeSignature({pbEncodedToBeSigned, cbEncodedToBeSigned}, *pSignatureAlgorithm, key, signature);
        return done(code != 0 ? code : giveBytes(signature, pbSignature, pcbSignature));
    });
}

BOOL CryptVerifyCertificateSignatureEx(HCRYPTPROV /*hCryptProv*/, DWORD /*dwCertEncodingType*/, DWORD dwSubjectType,
                                       void* pvSubject, DWORD dwIssuerType, void* pvIssuer, DWORD /*dwFlags*/,
                                       void* /*pvExtra*/) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (pvSubject == nullptr || pvIssuer == nullptr) {
            return fail(E_INVALIDARG);
        }
        SignedBytes parts;
        std::string oid;
        if (const DWORD code = readSubject(dwSubjectType, pvSubject, parts, oid); code != 0) {
            return fail(code);
        }
        // For a certificate the question is only who issued it. Its chain decides whether the hash is strong enough.
        const Sha1 sha1 = dwSubjectType == CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT ? Sha1::kAlways : Sha1::kBySetting;
        return done(verifyWithIssuer(parts, dwIssuerType, pvIssuer, sha1));
    });
}
