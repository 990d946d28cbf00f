// Names of every kind as shown fields. They are read from the DER, since the library's value classes end a text at a
// NUL character. All throw kAsn1Error for octets that are not completely of their type, except where hexadecimal is
// mentioned.
#pragma once

#include <string>

#include "asn1/codec/tlv_reader.h"
#include "cli/shown.h"

namespace tallow::cli {

using Orvane::ASN1::Octets;
using Orvane::ASN1::TlvElement;
using Orvane::ASN1::TlvReader;

/// A DER Name as nameText shows it; an empty one in hexadecimal.
std::string nameOf(Octets name);

/// A GeneralName, "URI: http://..." and so on; in hexadecimal when it is of a kind without a text form, or malformed.
std::string generalNameOf(Octets name);

/// GeneralNames, AuthorityInfoAccessSyntax, CRLDistributionPoints.
Shown showGeneralNames(const char* field, Octets names);
Shown showAccess(const char* field, Octets access);
Shown showDistributionPoints(const char* field, Octets points);

/// The next element. Throws kAsn1Error when there is none, or when it has another tag.
TlvElement required(TlvReader& reader, std::uint32_t tag);
/// Throws kAsn1Error unless all elements are read.
void requireEnd(const TlvReader& reader);

}  // namespace tallow::cli
