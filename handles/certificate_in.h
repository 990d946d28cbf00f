// Certificates from DER, for callers to whom octets that are none are a case of their own.
#pragma once

#include <cstddef>
#include <new>

#include "handles/cert_context.h"
#include "platform/crypto/crypto_service.h"

namespace ATL2 {

/// The certificate in exactly `size` octets of DER, which are copied; empty when they are not a certificate. Throws
/// std::bad_alloc when memory is exhausted: an empty object would then pass for octets that are none.
[[nodiscard]] inline CCertContext certificateIn(const unsigned char* der, std::size_t size) {
    CCertContext made =
        CCertContext::adopt(CertCreateCertificateContext(X509_ASN_ENCODING, der, static_cast<DWORD>(size)));
    if (!made && GetLastError() == E_OUTOFMEMORY) {
        throw std::bad_alloc();
    }
    return made;
}

}  // namespace ATL2
