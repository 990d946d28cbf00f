// Attributes with any number of values, as used in signatures and in requests for certificates (RFC 5652,
// section 5.3):
//
//   Attributes ::= SET OF Attribute
//   Attribute  ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF AttributeValue }
//
// A typed attribute (asn1/typed_attributes.h, asn1/signing_certificate.h) is added to a list and read back:
//
//   CAttributes attributes;
//   attributes.emplace_back(contentType.get_oid()).add(contentType);
//   const CAttrContentType again(attributes.find(contentType.get_oid())->begin()->get_value());
#pragma once

#include <list>

#include "asn1/codec/owned_ptr.h"
#include "asn1/names/attr_value.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

struct CAttributeImpl;

/// Identifier and values of one attribute. One pointer wide, so that lists are cheap to splice. Copies are deep; a
/// move exchanges the contents.
class TALLOW_EXPORT CAttribute {
public:
    using iterator = std::list<CAttrValue>::iterator;
    using const_iterator = std::list<CAttrValue>::const_iterator;

    /// Empty identifier, which cannot be encoded, and no values.
    CAttribute();
    explicit CAttribute(const char* oid);
    CAttribute(const CAttribute& other);
    CAttribute& operator=(const CAttribute& other);
    CAttribute& operator=(CAttribute&& other) noexcept;
    ~CAttribute();

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_oid() const;

    /// The values in the order in which they were added or stood in the message.
    iterator begin();
    iterator end();
    const_iterator begin() const;
    const_iterator end() const;
    std::size_t size() const;

    /// Appends a value, the whole DER of it, under the identifier of the attribute.
    void add(const CBlob& value);
    /// Appends a copy as it is: it keeps its identifier, also a foreign one, which shows in get_oid() of the value
    /// and in comparisons, but is not encoded.
    void add(const CAttrValue& value);
    /// Removes the value, which must be one of this attribute's.
    void erase(iterator position);

    /// The DER of the attribute, its values in the order of a DER SET. Throws InvalidArgument when the identifier is
    /// not dotted decimal text, and Asn1Error when a value of a known attribute is not the DER of its type. Values of
    /// other attributes go out as they are, and empty values of any attribute are not checked and leave no trace.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is not of the type, or is a known
    /// attribute with a value that is not of its type.
    void decode(const CBlob& data);

    /// Equal identifier text, and values equal one by one in order.
    bool operator==(const CAttribute& other) const;

private:
    copied_ptr<CAttributeImpl> impl_;
};

/// Attributes in the order in which they were appended or stood in the message. Nothing keeps an identifier from
/// standing twice; the operations by identifier then mean the first.
class TALLOW_EXPORT CAttributes : public std::list<CAttribute> {
public:
    using std::list<CAttribute>::list;
    using std::list<CAttribute>::erase;

    /// The first attribute with exactly this identifier text, or end(). Null finds nothing but an empty identifier.
    iterator find(const char* oid);
    const_iterator find(const char* oid) const;

    /// Removes the first attribute with this identifier, if there is one.
    void erase(const char* oid);

    /// The DER SET of the attributes, also of none; failures as for CAttribute::encode.
    CBlob encode() const;

    /// Replaces the whole content by that of a SET OF Attribute. A SignerInfo has its signed attributes under the tag
    /// [0] in place of that of SET; their first octet must be made 0x31 before (as for the digest that is signed).
    /// Throws Asn1Error, with the list unchanged, when `data` is no such SET.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
