// What the command shows of certificates and answers, as text.
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

/// As RFC 5280 section 5.3.1 spells it; the number for one without a name. Null gives an empty text.
std::string reasonText(const Orvane::ASN1::CrlReason* reason);

/// As RFC 6960 section 4.2.1 spells it; the number for one without a name.
std::string responseStatusText(std::uint32_t status);

}  // namespace tallow::cli
