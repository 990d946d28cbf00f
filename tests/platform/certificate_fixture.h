// Owners of the service's handles for tests, and contexts from the fixtures' certificates.
#pragma once

#include <memory>

#include "platform/crypto/crypto_service.h"
#include "tests/support/bytes.h"

namespace testkit {

struct FreeContext {
    void operator()(PCCERT_CONTEXT context) const { CertFreeCertificateContext(context); }
};
using ContextPtr = std::unique_ptr<const CERT_CONTEXT, FreeContext>;

struct CloseStore {
    void operator()(HCERTSTORE store) const { CertCloseStore(store, 0); }
};
using StorePtr = std::unique_ptr<void, CloseStore>;

inline ContextPtr context(const Bytes& der) {
    return ContextPtr(CertCreateCertificateContext(X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, der.data(),
                                                   static_cast<DWORD>(der.size())));
}

inline Bytes bytesOf(const CRYPT_DATA_BLOB& blob) {
    return Bytes(blob.pbData, blob.pbData + blob.cbData);
}

inline CRYPT_DATA_BLOB blobOf(const Bytes& bytes) {
    return {static_cast<DWORD>(bytes.size()), const_cast<BYTE*>(bytes.data())};
}

inline Bytes encoded(PCCERT_CONTEXT context) {
    return Bytes(context->pbCertEncoded, context->pbCertEncoded + context->cbCertEncoded);
}

/// The value of a property in the two steps; empty, with the last error, when there is none.
inline Bytes property(PCCERT_CONTEXT context, DWORD id) {
    DWORD size = 0;
    if (CertGetCertificateContextProperty(context, id, nullptr, &size) == FALSE) {
        return {};
    }
    Bytes value(size);
    if (CertGetCertificateContextProperty(context, id, value.data(), &size) == FALSE) {
        value.clear();
    }
    return value;  // not copied: a block of key information points into itself
}

}  // namespace testkit
