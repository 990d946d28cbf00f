// Distinguished names for people. Names are untrusted and never shortened: invalid octets are escaped, and NUL does not
// end the text.
#pragma once

#include <string>

#include "cli/der_view.h"

namespace tallow::cli {

/// A DER Name as "CN=Ivan+OU=Lab,O=Org", first on the wire first. UTF-8 that may hold any character, NUL and controls
/// included: safeLine makes it fit to be printed. An octet that is no text of its string type is "\x{FF}", and a code
/// point that does not exist "\u{D800}". A value of another type, or of an attribute without a short name, is '#' and
/// its hexadecimal DER; octets that are no Name are '#' and hexadecimal too. Empty for an empty name.
std::string nameText(Octets der);

/// The octets of a narrow string of ASN.1 as text: UTF-8 where they are, "\x{FF}" where not.
std::string narrowText(Octets octets);

/// An object identifier from its content octets, dotted; '#' and hexadecimal when it is malformed.
std::string oidText(Octets content);

}  // namespace tallow::cli
