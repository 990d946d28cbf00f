// An attribute type with one value: the base of the elements of names (asn1/name.h) and of the typed attributes.
#pragma once

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Object identifier of an attribute and the whole DER of one value, tag included. Copies are deep. Not for deletion
/// through a pointer to this class: there is no virtual destructor.
class TALLOW_EXPORT CAttrValue {
public:
    CAttrValue();
    explicit CAttrValue(const char* oid);
    CAttrValue(const char* oid, const CBlob& value);

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_oid() const { return oid_.c_str(); }
    const CBlob& get_value() const { return value_; }
    CBlob& value() { return value_; }

    /// Equal identifier text and value bytes: one text in two string types is unequal.
    bool operator==(const CAttrValue& other) const;

protected:
    void putOid(const char* oid);

private:
    CStringProxy oid_;
    CBlob value_;
};

}  // namespace Orvane::ASN1
