// Attributes of names made from plain text: one class for each of the usual types (X.520 and RFC 5280, appendix A),
// each of which fixes the object identifier.
//
//   CRelativeDistinguishedName rdn;
//   rdn.emplace_back(CAttrCommonName("Ivan"));
//   CName name;
//   name.push_back(rdn);                             // CN=Ivan
//
// The text is encoded in the string type registered for the attribute (attribute_register.h). The alphabets of X.520
// and the upper bounds of RFC 5280, which each class names in characters, are not enforced: a country of three letters,
// or "@" in a PrintableString, is encoded as given. Code that issues certificates must check both.
//
// All constructors below copy their text, which is UTF-8, and throw what that of CAttrStringValue throws. To read a
// name back, use CAttributeTypeAndValue: these classes only write.
#pragma once

#include "asn1/names/attr_value.h"
#include "export.h"

namespace Orvane::ASN1 {

/// An attribute whose value is a character string.
class TALLOW_EXPORT CAttrStringValue : public CAttrValue {
public:
    /// `oid` is dotted decimal text, `text` UTF-8; octets that are not UTF-8 become U+FFFD. Null and "" give an empty
    /// string value, which CAttributeTypeAndValue::encode rejects for the types that need a character. Throws what
    /// CATAVRegister::valueFromStr throws, kInvalidArgument for a text above the registered length.
    CAttrStringValue(const char* oid, const char* text);
    CAttrStringValue(const char* oid, const wchar_t* text);
};

/// "CN", 2.5.4.3, as UTF8String: the name of a person, server or CA. At most 64. Clients find a server by its
/// alternative names, not by this attribute.
class TALLOW_EXPORT CAttrCommonName : public CAttrStringValue {
public:
    explicit CAttrCommonName(const char* text);
};

/// "SN", 2.5.4.4, as UTF8String: the family name. At most 32768. Not the serial number.
class TALLOW_EXPORT CAttrSurname : public CAttrStringValue {
public:
    explicit CAttrSurname(const char* text);
};

/// "SERIALNUMBER", 2.5.4.5, as PrintableString: a number of the subject, unrelated to the certificate's serial number.
/// At most 64.
class TALLOW_EXPORT CAttrSerialNumber : public CAttrStringValue {
public:
    explicit CAttrSerialNumber(const char* text);
};

/// "C", 2.5.4.6, as PrintableString: exactly two letters, a country of ISO 3166.
class TALLOW_EXPORT CAttrCountry : public CAttrStringValue {
public:
    explicit CAttrCountry(const char* text);
};

/// "L", 2.5.4.7, as UTF8String: a town or other place. At most 128.
class TALLOW_EXPORT CAttrLocality : public CAttrStringValue {
public:
    explicit CAttrLocality(const char* text);
};

/// "ST", 2.5.4.8, as UTF8String: a state, province or region. At most 128.
class TALLOW_EXPORT CAttrStateOrProvinceName : public CAttrStringValue {
public:
    explicit CAttrStateOrProvinceName(const char* text);
};

/// "O", 2.5.4.10, as UTF8String: the organization, usually by its registered name. At most 64.
class TALLOW_EXPORT CAttrOrganizationName : public CAttrStringValue {
public:
    explicit CAttrOrganizationName(const char* text);
};

/// "OU", 2.5.4.11, as UTF8String: a part of the organization. At most 64.
class TALLOW_EXPORT CAttrOrganizationalUnitName : public CAttrStringValue {
public:
    explicit CAttrOrganizationalUnitName(const char* text);
};

/// "T", 2.5.4.12, as UTF8String: a position, such as "Director". At most 64.
class TALLOW_EXPORT CAttrTitle : public CAttrStringValue {
public:
    explicit CAttrTitle(const char* text);
};

/// "GN", 2.5.4.42, as UTF8String: the given names. At most 32768.
class TALLOW_EXPORT CAttrGivenName : public CAttrStringValue {
public:
    explicit CAttrGivenName(const char* text);
};

/// "I", 2.5.4.43, as UTF8String: initials of the given names. At most 32768.
class TALLOW_EXPORT CAttrInitials : public CAttrStringValue {
public:
    explicit CAttrInitials(const char* text);
};

/// "PS", 2.5.4.65, as UTF8String: used in place of a legal name. At most 128.
class TALLOW_EXPORT CAttrPseudonym : public CAttrStringValue {
public:
    explicit CAttrPseudonym(const char* text);
};

/// "E", 1.2.840.113549.1.9.1, as IA5String (RFC 2985, section 5.2.1): an address of electronic mail. At most 255. RFC
/// 5280 prefers rfc822Name in the subject's alternative names.
class TALLOW_EXPORT CAttrEmailAddress : public CAttrStringValue {
public:
    explicit CAttrEmailAddress(const char* text);
};

}  // namespace Orvane::ASN1
