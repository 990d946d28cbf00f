// Information items of PKI messages: pairs of identifier and value (RFC 4210, section 5.3.19).
//
//   CInfoTypeAndValueList items;
//   items.insert(CInfoTypeAndValue("1.3.6.1.5.5.7.4.4", value));
//   const auto found = items.find("1.3.6.1.5.5.7.4.4");
#pragma once

#include <list>
#include <string>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// One item:
///
///   InfoTypeAndValue ::= SEQUENCE {
///       infoType  OBJECT IDENTIFIER,
///       infoValue ANY DEFINED BY infoType OPTIONAL }
///
/// Copies are deep and throw std::bad_alloc. Immutable except by assignment. Values of known items are checked when a
/// list is read or written, and returned as bytes.
class TALLOW_EXPORT CInfoTypeAndValue {
public:
    /// Copies the arguments; those not given are empty, and a null identifier counts as empty. encode() of the list
    /// checks them.
    CInfoTypeAndValue();
    explicit CInfoTypeAndValue(const char* infoType);
    CInfoTypeAndValue(const char* infoType, const CBlob& infoValue);

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_infoType() const { return infoType_.c_str(); }
    /// The whole DER of the value; empty when absent. Valid until the object is changed or destroyed.
    const CBlob& get_infoValue() const { return infoValue_; }

    /// Equal identifier text and value bytes.
    bool operator==(const CInfoTypeAndValue& other) const;

private:
    CStringProxy infoType_;
    CBlob infoValue_;
};

/// A predicate for the algorithms of the standard library: whether an item has exactly this identifier text.
class TALLOW_EXPORT findByOid {
public:
    /// Copies the text; null finds an empty identifier.
    explicit findByOid(const char* oid);
    bool operator()(const CInfoTypeAndValue& item) const { return oid_ == item.get_infoType(); }

private:
    std::string oid_;
};

/// Items in wire order:
///
///   GenMsgContent ::= SEQUENCE OF InfoTypeAndValue
///
/// insert keeps one for each identifier; a decoded list may contain several, and then the operations by identifier mean
/// the first.
class TALLOW_EXPORT CInfoTypeAndValueList : public std::list<CInfoTypeAndValue> {
public:
    using std::list<CInfoTypeAndValue>::list;

    /// The first item with exactly this identifier text, or end(). Null finds an empty identifier.
    iterator find(const char* oid);
    const_iterator find(const char* oid) const;

    /// Overwrites the item with the same identifier where it is, or appends a copy.
    void insert(const CInfoTypeAndValue& item);

    /// Removes the first item with this identifier, if there is one.
    void remove(const char* oid);

    /// The DER of the items as a SEQUENCE, empty when there are none. Throws:
    /// - kInvalidArgument: an identifier is not dotted decimal text.
    /// - kAsn1Error: the value of a known item is not the DER of its type.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the whole content; octets after the SEQUENCE are ignored. Throws, with the list unchanged:
    /// - kAsn1Error: `data` is empty or not a SEQUENCE OF InfoTypeAndValue.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
