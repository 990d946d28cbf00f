// Certificates as in a response: fields, properties, key, and a signature check of the certificate with its own key.
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "platform/crypto/crypto_service.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const PCCERT_CONTEXT context = CertCreateCertificateContext(X509_ASN_ENCODING, data, static_cast<DWORD>(size));
    if (context == nullptr) {
        return 0;
    }
    for (DWORD const id : {CERT_SHA1_HASH_PROP_ID, CERT_SIGNATURE_HASH_PROP_ID, CERT_KEY_IDENTIFIER_PROP_ID,
                           CERT_ENHKEY_USAGE_PROP_ID, CERT_AUTHORITY_INFO_ACCESS_PROP_ID}) {
        DWORD sizeValue = 0;
        CertGetCertificateContextProperty(context, id, nullptr, &sizeValue);
    }
    CRYPT_DATA_BLOB subject{context->cbCertEncoded, context->pbCertEncoded};
    CryptVerifyCertificateSignatureEx(0, X509_ASN_ENCODING, CRYPT_VERIFY_CERT_SIGN_SUBJECT_BLOB, &subject,
                                      CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT, const_cast<CERT_CONTEXT*>(context), 0,
                                      nullptr);
    CryptVerifyCertificateSignatureEx(0, X509_ASN_ENCODING, CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT,
                                      const_cast<CERT_CONTEXT*>(context), CRYPT_VERIFY_CERT_SIGN_ISSUER_PUBKEY,
                                      &context->pCertInfo->SubjectPublicKeyInfo, 0, nullptr);
    CertFreeCertificateContext(context);
    return 0;
}
