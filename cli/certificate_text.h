// Values of certificates and responses as text.
#pragma once

#include <cstdint>
#include <string>

#include "asn1/extensions/crl_reason.h"
#include "foundation/date_time.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

/// The names as nameText shows them.
std::string subjectOf(const _CERT_CONTEXT* certificate);
std::string issuerNameOf(const _CERT_CONTEXT* certificate);

/// SHA-1 of the certificate, hexadecimal.
std::string thumbprintOf(const _CERT_CONTEXT* certificate);

/// Hexadecimal, most significant octet first.
std::string serialOf(const _CERT_CONTEXT* certificate);

/// "2026-01-02T03:04:05Z"; null gives an empty text.
std::string iso8601(const Orvane::CDateTime* time);

/// The name in RFC 5280, section 5.3.1; the number if there is none. Null gives an empty text.
std::string reasonText(const Orvane::ASN1::CrlReason* reason);

/// The name in RFC 6960, section 4.2.1; the number if there is none.
std::string responseStatusText(std::uint32_t status);

}  // namespace tallow::cli
