// Distinguished names (RFC 5280, section 4.1.2.4) as objects and as text:
//
//   Name                      ::= CHOICE { rdnSequence RDNSequence }
//   RDNSequence               ::= SEQUENCE OF RelativeDistinguishedName
//   RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
//   AttributeTypeAndValue     ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }
//
// The text form is for people and for configuration: "CN=Ivan+OU=Lab,O=Org". RDNs are joined by ',' and their elements
// by '+', first on the wire first. There is no quoting: a ',' or '+' inside a value always splits, and blanks are part
// of the text they are in. Lists keep the order in which they were made or decoded; nothing is sorted here.
#pragma once

#include <list>

#include "asn1/names/attr_value.h"
#include "asn1/text/char_string.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// One element of a name. The text forms and what they throw are those of CATAVRegister.
class TALLOW_EXPORT CAttributeTypeAndValue : public CAttrValue {
public:
    CAttributeTypeAndValue();
    explicit CAttributeTypeAndValue(const CAttrValue& value);
    CAttributeTypeAndValue(const char* oid, const CBlob& value);
    /// From the texts of type and value, or from "type=value".
    CAttributeTypeAndValue(const wchar_t* type, const wchar_t* value, StringType stringType);
    CAttributeTypeAndValue(const wchar_t* text, StringType stringType);

    /// The object identifier, never null.
    const char* get_type() const { return get_oid(); }
    /// The whole DER of the value, by value.
    CBlob get_value() const { return CAttrValue::get_value(); }
    void put_type(const char* oid);
    void put_value(const CBlob& value);

    /// The short name or object identifier, and the text of the value.
    CWStringProxy get_type_str() const;
    CWStringProxy get_value_str() const;
    void put_type_str(const wchar_t* type);
    /// Under the present object identifier.
    void put_value_str(const wchar_t* value, StringType stringType);

    /// "type=value".
    CWStringProxy toString() const;
    /// Replaces identifier and value; a failure leaves the object unchanged.
    void fromString(const wchar_t* text, StringType stringType);

    /// The DER of the element. Throws InvalidArgument for an identifier that is not dotted decimal text, and Asn1Error
    /// for a value that is not the DER of the attribute's type.
    CBlob encode() const;
    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is not of the type.
    void decode(const CBlob& data);

    bool operator==(const CAttributeTypeAndValue& other) const = default;
};

/// Elements in wire order. Equal element by element, so that sets in another order are unequal.
class TALLOW_EXPORT CAttributeTypeAndValueSet : public std::list<CAttributeTypeAndValue> {};

/// One RDN. The encoding is sorted as DER demands; the list is not.
class TALLOW_EXPORT CRelativeDistinguishedName : public CAttributeTypeAndValueSet {
public:
    CRelativeDistinguishedName();
    explicit CRelativeDistinguishedName(const wchar_t* text);

    /// Empty for an empty list.
    CWStringProxy toString() const;
    /// Appends the elements of the text. An element without '=' throws InvalidArgument, so an empty text does too; the
    /// elements before it are then in the list.
    void fromString(const wchar_t* text);

    /// The DER of the set. An empty one throws Asn1Error.
    CBlob encode() const;
    /// Replaces the whole content. Throws Asn1Error, with the list unchanged, when `data` is not of the type.
    void decode(const CBlob& data);
};

/// RDNs in wire order.
class TALLOW_EXPORT CRDNSequence : public std::list<CRelativeDistinguishedName> {};

/// A distinguished name. An empty one is legal and encodes to an empty SEQUENCE.
class TALLOW_EXPORT CName : public CRDNSequence {
public:
    CName();
    explicit CName(const wchar_t* text);

    /// Empty for an empty name. Throws Asn1Error for a value whose string type is not known.
    CWStringProxy toString() const;
    /// Appends the RDNs of the text; failures as for CRelativeDistinguishedName::fromString.
    void fromString(const wchar_t* text);

    CBlob encode() const;
    /// Replaces the whole content. Throws Asn1Error, with the name unchanged, when `data` is not of the type.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
