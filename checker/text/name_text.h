// Distinguished names as text. Names are untrusted and never shortened: invalid octets are escaped, and NUL does not
// end the text.
#pragma once

#include <string>

#include "asn1/codec/tlv_reader.h"
#include "export.h"

namespace tallow::text {

using Orvane::ASN1::Octets;

/// A DER Name as "CN=Ivan+OU=Lab,O=Org", in the order of the encoding. Special characters of values are escaped as in
/// RFC 4514, section 2.4: "O=Smith\, Ltd". The text is UTF-8 and may contain any character, NUL and controls included:
/// safeLine makes it printable. An octet that is not valid in its string type is "\x{FF}", a code point that does not
/// exist "\u{D800}". A value of another type, or of an attribute without a short name, is '#' and its hexadecimal DER;
/// octets that are no Name are '#' and hexadecimal too. Empty for an empty name.
TALLOW_EXPORT std::string nameText(Octets der);

/// The octets of an ASN.1 string with one-octet units as text: valid UTF-8 is kept, other octets become "\x{FF}".
TALLOW_EXPORT std::string narrowText(Octets octets);

/// The dotted text of an object identifier, from its contents octets; '#' and hexadecimal when it is malformed.
TALLOW_EXPORT std::string oidText(Octets content);

}  // namespace tallow::text
