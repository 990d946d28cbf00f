// How requests and responses pass certificates to the Crypto service and open the user's stores.
#pragma once

#include "foundation/blob.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

inline constexpr DWORD kCertificateEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

/// The user's own store, only if it exists, and never written to.
inline constexpr DWORD kUserStoreFlags =
    CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG | CERT_STORE_OPEN_EXISTING_FLAG;

/// A copy of the certificate's DER encoding. `cert` must not be null.
inline CBlob encodingOf(const _CERT_CONTEXT* cert) {
    return {cert->pbCertEncoded, cert->cbCertEncoded};
}

}  // namespace Orvane::PKI::OCSP::Client
