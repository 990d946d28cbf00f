// An attribute type with one value: the base of the elements of names (asn1/names/name.h) and of the typed attributes
// of signatures (asn1/attributes).
//
//   CAttrValue value("2.5.4.3", encodeCharString(L"Ivan", kStringTypeUTF8));
//   CAttribute attribute(value.get_oid());
//   attribute.add(value);
#pragma once

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Object identifier of an attribute and the whole DER of one value, tag included:
///
///   AttributeTypeAndValue ::= SEQUENCE {
///       type  OBJECT IDENTIFIER,
///       value ANY DEFINED BY type }
///
/// Neither is checked here: encode() of the derived class or of the list does that. Copies are deep. Do not delete an
/// object through a pointer to this class: there is no virtual destructor.
class TALLOW_EXPORT CAttrValue {
public:
    /// Empty identifier and value. In the others, `oid` is dotted decimal text, null counts as empty, and both
    /// arguments are copied. They throw std::bad_alloc.
    CAttrValue();
    explicit CAttrValue(const char* oid);
    CAttrValue(const char* oid, const CBlob& value);

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_oid() const { return oid_.c_str(); }
    /// The DER of the value; empty until set. Valid until the object changes.
    const CBlob& get_value() const { return value_; }
    /// The same for changing it in place; in typed attributes, call decode() afterwards to update the decoded member.
    CBlob& value() { return value_; }

    /// Equal identifier text and equal octets of the value: the same text in two string types is unequal.
    bool operator==(const CAttrValue& other) const;

protected:
    /// Replaces the identifier; null counts as empty. The value stays.
    void putOid(const char* oid);

private:
    CStringProxy oid_;
    CBlob value_;
};

}  // namespace Orvane::ASN1
