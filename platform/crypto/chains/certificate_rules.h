// What RFC 5280 requires of a certificate in any path, in addition to signature, names and trust. OpenSSL checks some
// of this only with its strict flag, which also rejects certificates in common use and differs between releases.
#pragma once

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

// CERT_TRUST_... error bits of the certificate alone; 0 when there is no fault:
//
//   CERT_TRUST_INVALID_EXTENSION               an extension twice, or more than 64; extensions in a version 1 or 2
//                                              certificate; a processed extension that cannot be decoded to its last
//                                              octet; an empty key usage; no alternative name in the list of them; an
//                                              empty issuer name
//   CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT  a critical extension that is not processed
//   CERT_TRUST_INVALID_BASIC_CONSTRAINTS       a path length that is negative, or in a certificate that is no CA's
//   CERT_TRUST_INVALID_NAME_CONSTRAINTS        name constraints that cannot be decoded, or constrain nothing
//   CERT_TRUST_INVALID_POLICY_CONSTRAINTS      a policy extension that cannot be decoded, or anyPolicy in a mapping
//   CERT_TRUST_IS_NOT_TIME_VALID               a time in a form that RFC 5280 section 4.1.2.5 does not allow
//
// OpenSSL must have been able to read the certificate (x509() is not null).
DWORD faultsOf(const Certificate& certificate);

// Whether each critical extension is known to OpenSSL's verifier, or accepted by faultsOf although OpenSSL does not
// know it.
bool knowsCriticalExtensions(const Certificate& certificate);

// Whether the certificate may be above another one in a path: version 3 and basicConstraints with cA.
bool isCa(const Certificate& certificate) noexcept;

// Whether subject and issuer are the same name.
bool isSelfIssued(const Certificate& certificate) noexcept;

}  // namespace tallow::platform
