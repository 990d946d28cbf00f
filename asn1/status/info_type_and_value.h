// Information items of PKI messages (RFC 4210, section 5.3.19):
//
//   InfoTypeAndValue ::= SEQUENCE { infoType OBJECT IDENTIFIER, infoValue ANY DEFINED BY infoType OPTIONAL }
#pragma once

#include <list>
#include <string>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Identifier of an item and the DER of its value, empty when absent. Copies are deep.
class TALLOW_EXPORT CInfoTypeAndValue {
public:
    CInfoTypeAndValue();
    explicit CInfoTypeAndValue(const char* infoType);
    CInfoTypeAndValue(const char* infoType, const CBlob& infoValue);

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_infoType() const { return infoType_.c_str(); }
    const CBlob& get_infoValue() const { return infoValue_; }

    /// Equal identifier text and value bytes.
    bool operator==(const CInfoTypeAndValue& other) const;

private:
    CStringProxy infoType_;
    CBlob infoValue_;
};

/// Whether an item has exactly this identifier text, for the algorithms of the standard library.
class TALLOW_EXPORT findByOid {
public:
    /// Null finds an empty identifier.
    explicit findByOid(const char* oid);
    bool operator()(const CInfoTypeAndValue& item) const { return oid_ == item.get_infoType(); }

private:
    std::string oid_;
};

/// Items in wire order. insert keeps one for each identifier; a decoded list may hold several, and then the first one
/// counts.
class TALLOW_EXPORT CInfoTypeAndValueList : public std::list<CInfoTypeAndValue> {
public:
    using std::list<CInfoTypeAndValue>::list;

    /// The first item with exactly this identifier text, or end().
    iterator find(const char* oid);
    const_iterator find(const char* oid) const;

    /// Overwrites the item with the same identifier where it is, or appends a copy.
    void insert(const CInfoTypeAndValue& item);

    /// Removes the first item with this identifier. There must be one: that none is there fails an assertion in debug
    /// builds, and has no effect in release builds.
    void remove(const char* oid);

    /// The DER of the items as a SEQUENCE, also of none. Throws InvalidArgument when an identifier is not dotted
    /// decimal text, and Asn1Error when the value of a known item is not the DER of its type.
    CBlob encode() const;

    /// Replaces the whole content by that of a SEQUENCE OF InfoTypeAndValue. Throws Asn1Error, with the list unchanged,
    /// when `data` is none.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
