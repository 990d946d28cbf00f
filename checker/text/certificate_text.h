// Values of certificates and responses as text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "asn1/extensions/crl_reason.h"
#include "export.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::text {

/// The names as nameText shows them.
TALLOW_EXPORT std::string subjectOf(const _CERT_CONTEXT* certificate);
TALLOW_EXPORT std::string issuerNameOf(const _CERT_CONTEXT* certificate);

/// SHA-1 of the certificate, hexadecimal. Throws std::bad_alloc: an empty one would name every certificate.
TALLOW_EXPORT std::string thumbprintOf(const _CERT_CONTEXT* certificate);

/// Hexadecimal, most significant octet first.
TALLOW_EXPORT std::string serialOf(const _CERT_CONTEXT* certificate);

/// "certificate CN=leaf"; without a subject "certificate with serial number 0A". Made safe for one line.
std::string certificateNamed(const _CERT_CONTEXT* certificate);

/// The key identifier of its issuer, hexadecimal; empty when the certificate names none.
std::string authorityKeyOf(const _CERT_CONTEXT* certificate);

/// The http and https addresses that the certificate names for its issuer's certificate and for CRLs, without logins,
/// at most 4 each. They are untrusted.
std::vector<std::string> issuerAddressesOf(const _CERT_CONTEXT* certificate);
std::vector<std::string> crlAddressesOf(const _CERT_CONTEXT* certificate);

/// Whether it has the extended key usage OCSPSigning.
bool hasOcspSigning(const _CERT_CONTEXT* certificate);

/// The name in RFC 5280, section 5.3.1; the number if there is none. Null gives an empty text.
TALLOW_EXPORT std::string reasonText(const Orvane::ASN1::CrlReason* reason);

/// The name in RFC 6960, section 4.2.1; the number if there is none.
TALLOW_EXPORT std::string responseStatusText(std::uint32_t status);

}  // namespace tallow::text
