// Values of OCSP messages as shown fields: algorithms, identifiers, certificates.
#pragma once

#include <string>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/codec/tlv_reader.h"
#include "cli/shown.h"
#include "foundation/blob.h"
#include "message/cert_id.h"

namespace tallow::cli {

using Orvane::ASN1::Octets;

std::string hexOf(Octets octets);
std::string hexOf(const Orvane::CBlob& octets);
Octets octetsOf(const Orvane::CBlob& blob);

/// "sha256 (2.16.840.1.101.3.4.2.1)", followed by parameters other than NULL.
std::string algorithmOf(const Orvane::ASN1::CAlgorithmIdentifier& algorithm);
Shown showReqCert(const char* field, const Orvane::PKI::OCSP::CReqCert& reqCert);
/// The fields that identify each certificate.
Shown showCertificates(const char* field, const Orvane::CBlobList& certificates);

}  // namespace tallow::cli
