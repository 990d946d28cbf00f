// Distinguished names as objects and as text (RFC 5280, section 4.1.2.4).
//
//   CName name(L"CN=Ivan+OU=Lab,O=Org");
//   CBlob der = name.encode();
//   name.decode(subject);                            // replaces the content
//   std::wstring text = name.toString().c_str();
//
// The text form is for people and for configuration. RDNs are joined by ',' and their elements by '+', the first on the
// wire first: the reverse of RFC 4514. There is no quoting: a ',' or '+' inside a value always splits, and blanks are
// part of the text they are in. Never decide by the text form whether two names are the same. Lists keep the order in
// which they were made or decoded; nothing is sorted here.
#pragma once

#include <list>

#include "asn1/names/attr_value.h"
#include "asn1/text/char_string.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// One element of a name:
///
///   AttributeTypeAndValue ::= SEQUENCE {
///       type  OBJECT IDENTIFIER,
///       value ANY DEFINED BY type }
///
/// The text forms and what they throw are those of CATAVRegister. Copies are deep.
class TALLOW_EXPORT CAttributeTypeAndValue : public CAttrValue {
public:
    /// Empty identifier and value, which cannot be encoded.
    CAttributeTypeAndValue();
    explicit CAttributeTypeAndValue(const CAttrValue& value);
    /// From dotted decimal text and the whole DER of the value; neither is checked here.
    CAttributeTypeAndValue(const char* oid, const CBlob& value);
    /// From the texts of type and value, or from "type=value".
    CAttributeTypeAndValue(const wchar_t* type, const wchar_t* value, StringType stringType);
    CAttributeTypeAndValue(const wchar_t* text, StringType stringType);

    /// The object identifier as dotted decimal text, never null; valid until the object changes.
    const char* get_type() const { return get_oid(); }
    /// A copy of the whole DER of the value, tag included.
    CBlob get_value() const { return CAttrValue::get_value(); }
    /// Each copies its argument and leaves the other member; null counts as empty.
    void put_type(const char* oid);
    void put_value(const CBlob& value);

    /// The short name or object identifier, and the text of the value. get_value_str throws kAsn1Error for a value of a
    /// known type that is not a character string.
    CWStringProxy get_type_str() const;
    CWStringProxy get_value_str() const;
    /// From a short name or an object identifier. The value stays.
    void put_type_str(const wchar_t* type);
    /// Encodes the text for the present object identifier, so set the type first. On failure the value stays.
    void put_value_str(const wchar_t* value, StringType stringType);

    /// "type=value".
    CWStringProxy toString() const;
    /// Replaces identifier and value by those of "type=value"; a failure leaves the object unchanged.
    void fromString(const wchar_t* text, StringType stringType);

    /// The DER of the element. Throws:
    /// - kInvalidArgument: the identifier is not dotted decimal text.
    /// - kAsn1Error: the value is empty, not the DER of a known attribute's type, or not DER at all.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;
    /// Replaces the content; octets after the element are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type, or is a known attribute with a value that is not of its type.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    bool operator==(const CAttributeTypeAndValue& other) const = default;
};

/// Elements in wire order. Equal element by element, so that the same set in another order is unequal.
class TALLOW_EXPORT CAttributeTypeAndValueSet : public std::list<CAttributeTypeAndValue> {};

/// One RDN:
///
///   RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
///
/// The encoding is sorted as DER demands (X.690, clause 11.6); the list is not.
class TALLOW_EXPORT CRelativeDistinguishedName : public CAttributeTypeAndValueSet {
public:
    /// An empty list, or the elements of "type=value+type=value", as fromString reads them.
    CRelativeDistinguishedName();
    explicit CRelativeDistinguishedName(const wchar_t* text);

    /// Elements joined by '+'; empty for an empty list. Throws what get_value_str throws.
    CWStringProxy toString() const;
    /// Appends the elements of the text. An element without '=' throws kInvalidArgument, and so does an empty text; the
    /// elements before it are then in the list.
    void fromString(const wchar_t* text);

    /// The DER of the set. Throws:
    /// - kAsn1Error: the set is empty.
    /// - kAsn1Error, kInvalidArgument: as CAttributeTypeAndValue::encode, for one of the elements.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;
    /// Replaces the whole content; octets after the set are ignored. Throws, with the list unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);
};

/// RDNs in wire order, the most general first in most certificates (country, organization, common name).
class TALLOW_EXPORT CRDNSequence : public std::list<CRelativeDistinguishedName> {};

/// A distinguished name:
///
///   Name        ::= CHOICE { rdnSequence RDNSequence }
///   RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
///
/// An empty one is legal and encodes to an empty SEQUENCE. Copies are deep. Equality compares element by element and
/// octet by octet; RFC 5280, section 7.1, would also accept other spellings.
class TALLOW_EXPORT CName : public CRDNSequence {
public:
    /// An empty name, or the RDNs of the text, as fromString reads them.
    CName();
    explicit CName(const wchar_t* text);

    /// RDNs joined by ','; empty for an empty name. Throws kAsn1Error for a value of a known type that is not a
    /// character string.
    CWStringProxy toString() const;
    /// Appends the RDNs of the text; failures as for CRelativeDistinguishedName::fromString.
    void fromString(const wchar_t* text);

    /// The DER of the name. Throws:
    /// - kAsn1Error, kInvalidArgument: as CRelativeDistinguishedName::encode, for one of the RDNs.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;
    /// Replaces the whole content; octets after the name are ignored. Throws, with the name unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
