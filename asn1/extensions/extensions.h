// Extensions of requests, responses, certificates and CRL entries (RFC 5280, section 4.1):
//
//   Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension
//   Extension  ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE, extnValue OCTET STRING }
//
// CExtValue is the pair of identifier and value, from which the typed extensions derive
// (asn1/extensions/typed_extensions.h), and CExtension adds `critical`. To add a typed extension to a list:
//
//   CExtensions list;
//   list.insert(CExtension(CExtCRLReason(kReasonKeyCompromise), false));
#pragma once

#include <list>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Object identifier and content of one extension. Copies are deep. An empty object has an empty identifier and value.
/// Not for deletion through a pointer to this class: there is no virtual destructor.
class TALLOW_EXPORT CExtValue {
public:
    CExtValue();
    explicit CExtValue(const char* oid);
    CExtValue(const char* oid, const CBlob& value);

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_oid() const { return oid_.c_str(); }

    /// The content of extnValue: the DER of the extension's own type, without the OCTET STRING around it.
    const CBlob& get_value() const { return value_; }
    CBlob& value() { return value_; }

private:
    CStringProxy oid_;
    CBlob value_;
};

/// One extension. An empty object is not critical and has no identifier, so that it cannot be encoded.
class TALLOW_EXPORT CExtension : public CExtValue {
public:
    CExtension();

    /// Copies identifier and value; any typed extension serves as `value`.
    CExtension(const CExtValue& value, bool critical);
    CExtension(CExtValue&& value, bool critical) noexcept;

    const char* get_extnID() const { return get_oid(); }
    const CBlob& get_extnValue() const { return get_value(); }
    bool get_critical() const { return critical_; }

    /// The DER of the extension. Throws InvalidArgument when the identifier is not dotted decimal text, and Asn1Error
    /// when the value of a known extension is not the DER of its type.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not an Extension; the object is then unchanged.
    void decode(const CBlob& data);

    /// Equal criticality, identifier text and value bytes.
    bool operator==(const CExtension& other) const;

private:
    bool critical_ = false;
};

/// Extensions in wire order. insert keeps one entry for each identifier; a list that was decoded or filled by the
/// operations of std::list may hold several, and then the first one counts. Two lists are equal when they are equal
/// element by element: order matters.
class TALLOW_EXPORT CExtensions : public std::list<CExtension> {
public:
    using std::list<CExtension>::erase;

    /// The first entry with exactly this identifier text, or end(). Null finds nothing but an empty identifier.
    iterator find(const char* oid);
    const_iterator find(const char* oid) const;

    /// Overwrites the entry with the same identifier where it is, `critical` included, or appends a copy.
    void insert(const CExtension& extension);

    /// Removes the first entry with this identifier, if there is one.
    void erase(const char* oid);

    /// The DER of the list. An empty list throws Asn1Error, since the type demands one entry; otherwise as for
    /// CExtension::encode.
    CBlob encode() const;

    /// Replaces the whole content. Throws Asn1Error when `data` is not a list of extensions; the list is then
    /// unchanged.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
