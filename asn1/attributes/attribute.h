// Attributes with any number of values, as used in signatures and in requests for certificates (RFC 5652, section 5.3).
//
// A typed attribute (typed_attributes.h, signing_certificate.h) is added to a list and read back:
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

/// Identifier and values of one attribute:
///
///   Attribute ::= SEQUENCE {
///       attrType   OBJECT IDENTIFIER,
///       attrValues SET OF AttributeValue }
///
/// One pointer wide, so that lists are cheap to splice. Copies are deep; a move assignment exchanges the contents. What
/// the attributes of a message say is proven only when they are signed and the signature was verified.
class TALLOW_EXPORT CAttribute {
public:
    using iterator = std::list<CAttrValue>::iterator;
    using const_iterator = std::list<CAttrValue>::const_iterator;

    /// Empty identifier, which cannot be encoded, and no values.
    CAttribute();
    /// Copies dotted decimal text, which encode() checks; null counts as empty. No values.
    explicit CAttribute(const char* oid);
    CAttribute(const CAttribute& other);
    CAttribute& operator=(const CAttribute& other);
    CAttribute& operator=(CAttribute&& other) noexcept;
    ~CAttribute();

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_oid() const;

    /// The values in the order in which they were added or appeared in the message. Iterators stay valid until their
    /// value is removed or the object is assigned to or destroyed.
    iterator begin();
    iterator end();
    const_iterator begin() const;
    const_iterator end() const;
    std::size_t size() const;

    /// Appends a copy of a value, its whole DER with the tag, under the identifier of the attribute.
    void add(const CBlob& value);
    /// Appends a copy unchanged. It keeps its identifier, even a different one, which get_oid() of the value returns
    /// and comparisons see, but which is not encoded.
    void add(const CAttrValue& value);
    /// Removes the value, which must be one of this attribute's and is not end().
    void erase(iterator position);

    /// The DER of the attribute, its values in the order of a DER SET (X.690, clause 11.6). Throws:
    /// - kInvalidArgument: the identifier is not dotted decimal text.
    /// - kAsn1Error: a value of a known attribute is not the DER of its type.
    /// - kAsn1Memory: memory is exhausted.
    ///
    /// Values of other attributes are written unchanged; empty values of any attribute are neither checked nor written.
    /// An attribute without values is written with an empty SET.
    CBlob encode() const;

    /// Replaces the content; octets after the attribute are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not an Attribute, or is a known attribute with a value that is not of its type.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Equal identifier text, and values equal one by one in order.
    bool operator==(const CAttribute& other) const;

private:
    copied_ptr<CAttributeImpl> impl_;
};

/// Attributes in the order in which they were appended or appeared in the message:
///
///   Attributes ::= SET OF Attribute
///
/// The same identifier may occur more than once; the operations by identifier then mean the first.
class TALLOW_EXPORT CAttributes : public std::list<CAttribute> {
public:
    using std::list<CAttribute>::list;
    using std::list<CAttribute>::erase;

    /// The first attribute with exactly this identifier text, or end(). Null finds only an empty identifier. A receiver
    /// that decides by a signed attribute should reject a list in which it occurs twice (RFC 5652, section 11).
    iterator find(const char* oid);
    const_iterator find(const char* oid) const;

    /// Removes the first attribute with this identifier; without one, does nothing.
    void erase(const char* oid);

    /// The DER SET of the attributes; an empty SET when there are none. Failures as for CAttribute::encode.
    CBlob encode() const;

    /// Replaces the whole content by that of a SET OF Attribute. In a SignerInfo the signed attributes have the tag [0]
    /// instead of that of SET: change their first octet to 0x31 before, as for the digest that is signed. Throws, with
    /// the list unchanged:
    /// - kAsn1Error: `data` is empty or not such a SET, or an attribute in it cannot be decoded.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
