// Extensions of requests, responses, certificates and CRL entries (RFC 5280, section 4.1).
//
// CExtValue is the pair of identifier and value, from which the typed extensions derive (typed_extensions.h, and
// message/extensions.h for OCSP); CExtension adds `critical`. To add a typed extension to a list and to read it back:
//
//   CExtensions list;
//   list.insert(CExtension(CExtCRLReason(kReasonKeyCompromise), false));
//   const auto found = list.find("2.5.29.21");
//   if (found != list.end()) reason = CExtCRLReason(found->get_extnValue()).get_reason();
#pragma once

#include <list>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Object identifier and content of one extension. Copies are deep. An empty object has an empty identifier and value.
/// Do not delete an object through a pointer to this class: there is no virtual destructor.
class TALLOW_EXPORT CExtValue {
public:
    /// `oid` is dotted decimal text, null counts as empty, and it is checked only by encode(). `value` is the content
    /// of extnValue. Both are copied. Throw kAsn1Memory when memory is exhausted.
    CExtValue();
    explicit CExtValue(const char* oid);
    CExtValue(const char* oid, const CBlob& value);

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_oid() const { return oid_.c_str(); }

    /// The content of extnValue: the DER of the extension's own type, without the OCTET STRING around it. Valid until
    /// the object changes.
    const CBlob& get_value() const { return value_; }
    /// The same for changing it in place, which does not update the members of a typed extension.
    CBlob& value() { return value_; }

private:
    CStringProxy oid_;
    CBlob value_;
};

/// One extension:
///
///   Extension ::= SEQUENCE {
///       extnID    OBJECT IDENTIFIER,
///       critical  BOOLEAN DEFAULT FALSE,
///       extnValue OCTET STRING }
///
/// An empty object is not critical and has no identifier, so that it cannot be encoded.
class TALLOW_EXPORT CExtension : public CExtValue {
public:
    /// Not critical, no identifier, no value.
    CExtension();

    /// Copies identifier and value; any typed extension serves as `value`.
    CExtension(const CExtValue& value, bool critical);
    CExtension(CExtValue&& value, bool critical) noexcept;

    /// The three members; extnID as dotted decimal text, never null. Pointers and references live until the object
    /// changes. A receiver that does not know a critical extension must reject what contains it.
    const char* get_extnID() const { return get_oid(); }
    const CBlob& get_extnValue() const { return get_value(); }
    bool get_critical() const { return critical_; }

    /// The DER of the extension. An empty value is written without a check. Throws:
    /// - kInvalidArgument: the identifier is not dotted decimal text.
    /// - kAsn1Error: the value of a known extension is not the DER of its type.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the extension are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not an Extension, or is a known extension with a value that is not of its type.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Equal criticality, identifier text and value bytes.
    bool operator==(const CExtension& other) const;

private:
    bool critical_ = false;
};

/// Extensions in wire order:
///
///   Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension
///
/// insert keeps one entry for each identifier. A list that was decoded or filled by the operations of std::list may
/// contain several; find and erase then mean the first, and a caller that decides by an extension should reject such a
/// list. Two lists are equal when they are equal element by element: order matters.
class TALLOW_EXPORT CExtensions : public std::list<CExtension> {
public:
    using std::list<CExtension>::erase;

    /// The first entry with exactly this identifier text, or end(). Null finds only an empty identifier. The iterator
    /// stays valid until that entry is removed.
    iterator find(const char* oid);
    const_iterator find(const char* oid) const;

    /// Overwrites the entry with the same identifier where it is, `critical` included, or appends a copy.
    void insert(const CExtension& extension);

    /// Removes the first entry with this identifier; without one, does nothing.
    void erase(const char* oid);

    /// The DER of the list. Throws:
    /// - kAsn1Error: the list is empty, since the type demands one entry.
    /// - kAsn1Error, kInvalidArgument: as CExtension::encode, for one of the entries.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the whole content; octets after the list are ignored. Entries with the same identifier are all kept.
    /// Throws, with the list unchanged:
    /// - kAsn1Error: `data` is empty, not a list of extensions, or a list without an entry.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
