// Values of certificates and responses as text.
#pragma once

#include <cstdint>
#include <string>

#include "asn1/extensions/crl_reason.h"
#include "export.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::text {

/// The names as nameText shows them.
TALLOW_EXPORT std::string subjectOf(const _CERT_CONTEXT* certificate);
TALLOW_EXPORT std::string issuerNameOf(const _CERT_CONTEXT* certificate);

/// SHA-1 of the certificate, hexadecimal.
TALLOW_EXPORT std::string thumbprintOf(const _CERT_CONTEXT* certificate);

/// Hexadecimal, most significant octet first.
TALLOW_EXPORT std::string serialOf(const _CERT_CONTEXT* certificate);

/// The name in RFC 5280, section 5.3.1; the number if there is none. Null gives an empty text.
TALLOW_EXPORT std::string reasonText(const Orvane::ASN1::CrlReason* reason);

/// The name in RFC 6960, section 4.2.1; the number if there is none.
TALLOW_EXPORT std::string responseStatusText(std::uint32_t status);

}  // namespace tallow::text
