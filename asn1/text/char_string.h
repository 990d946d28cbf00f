// Text to and from the DER of the ASN.1 character string types that names are made of.
#pragma once

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Selects the character string type in which a text is encoded.
enum StringType : unsigned int {
    /// The type registered for the attribute.
    kStringTypeDefault = 0,
    kStringTypeUTF8 = 1,
    kStringTypePrintable = 2,
    kStringTypeTeletex = 3,
    kStringTypeBMP = 4,
    kStringTypeIA5 = 5,
    kStringTypeUniversal = 6
};

/// The DER of `text` (null counts as empty) in the given type, which must not be the default one. PrintableString,
/// TeletexString and IA5String take the text in UTF-8 without a test of the characters; BMPString keeps the low 16 bits
/// of each. Throws Asn1Error for another type or a character that cannot be encoded, Asn1Memory when memory is
/// exhausted.
TALLOW_EXPORT CBlob encodeCharString(const wchar_t* text, StringType type);

/// The text of a UTF8String, NumericString, PrintableString, TeletexString, IA5String, UniversalString or BMPString;
/// the narrow ones but the first are read as UTF-8 too. A text ends at a NUL character inside. Throws Asn1Error for
/// any other tag or a malformed string.
TALLOW_EXPORT CWStringProxy decodeCharString(const CBlob& value);

}  // namespace Orvane::ASN1
