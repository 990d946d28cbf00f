// Values of OCSP messages as shown fields: names, algorithms, identifiers, certificates.
#pragma once

#include <string>

#include "asn1/access_description.h"
#include "asn1/algorithm_identifier.h"
#include "asn1/distribution_point.h"
#include "asn1/general_name.h"
#include "cli/der_view.h"
#include "cli/shown.h"
#include "foundation/blob.h"
#include "message/cert_id.h"

namespace tallow::cli {

std::string hexOf(Octets octets);
std::string hexOf(const Orvane::CBlob& octets);
Octets octetsOf(const Orvane::CBlob& blob);

/// A DER Name as text; in hexadecimal when it cannot be shown.
std::string nameOf(const Orvane::CBlob& name);
/// "sha256 (2.16.840.1.101.3.4.2.1)", with parameters other than NULL behind it.
std::string algorithmOf(const Orvane::ASN1::CAlgorithmIdentifier& algorithm);
/// "URI: http://...", and so on for each kind.
std::string generalNameOf(const Orvane::ASN1::CGeneralName& name);
/// A GeneralName of any kind from its DER; the kinds that the library cannot hold in hexadecimal.
std::string generalNameOf(Octets name);

Shown showReqCert(const char* field, const Orvane::PKI::OCSP::CReqCert& reqCert);
Shown showGeneralNames(const char* field, const Orvane::ASN1::CGeneralNames& names);
Shown showAccess(const char* field, const Orvane::ASN1::CAuthorityInfoAccessSyntax& access);
Shown showDistributionPoints(const char* field, const Orvane::ASN1::CCRLDistPointsSyntax& points);
/// What tells one certificate from another.
Shown showCertificates(const char* field, const Orvane::CBlobList& certificates);

}  // namespace tallow::cli
