// Text to and from the DER of the ASN.1 character string types used in names.
//
//   CBlob der = encodeCharString(L"Ivan", kStringTypeUTF8);       // 0C 04 49 76 61 6E
//   CWStringProxy text = decodeCharString(der);
#pragma once

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// The character string type in which a text is encoded:
///
///   DirectoryString ::= CHOICE {
///       teletexString   TeletexString,
///       printableString PrintableString,
///       universalString UniversalString,
///       utf8String      UTF8String,
///       bmpString       BMPString }
///   -- and IA5String for addresses and domain components
///
/// RFC 5280, section 4.1.2.4, requires UTF8String or PrintableString in new names.
enum StringType : unsigned int {
    /// The type registered for the attribute; not accepted by encodeCharString.
    kStringTypeDefault = 0,
    kStringTypeUTF8 = 1,
    kStringTypePrintable = 2,
    kStringTypeTeletex = 3,
    kStringTypeBMP = 4,
    kStringTypeIA5 = 5,
    kStringTypeUniversal = 6
};

/// The DER of `text` in the given type; null counts as empty. PrintableString, TeletexString and IA5String take the
/// text in UTF-8 without a check of the characters; BMPString keeps the low 16 bits of each. Throws kAsn1Error for
/// kStringTypeDefault, for a number that is no type, and for a character that cannot be encoded; kAsn1Memory when
/// memory is exhausted.
TALLOW_EXPORT CBlob encodeCharString(const wchar_t* text, StringType type);

/// The text of a UTF8String, NumericString, PrintableString, TeletexString, IA5String, UniversalString or BMPString;
/// the narrow ones other than UTF8String are read as UTF-8 too, with U+FFFD for octets that are not. A text ends at a
/// NUL character inside, so do not use it to compare names. Throws kAsn1Error for any other tag and for a malformed
/// string, and kAsn1Memory when memory is exhausted.
TALLOW_EXPORT CWStringProxy decodeCharString(const CBlob& value);

}  // namespace Orvane::ASN1
