// Authority information access: the addresses that a certificate names for its responder and its issuer's certificate
// (RFC 5280, section 4.2.2.1).
//
//   CAuthorityInfoAccessSyntax access;
//   access.decode(extnValue);
//   for (const CAccessDescription& entry : access) {
//       if (std::strcmp(entry.get_accessMethod(), "1.3.6.1.5.5.7.48.1") == 0) ...    // OCSP
//   }
#pragma once

#include <list>

#include "asn1/names/general_name.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// One way of reaching a service of the issuer:
///
///   AccessDescription ::= SEQUENCE {
///       accessMethod   OBJECT IDENTIFIER,
///       accessLocation GeneralName }
///
/// Copies are deep. An empty object has no method and a general name of type 0, and cannot be encoded.
class TALLOW_EXPORT CAccessDescription {
public:
    /// Empty method and location.
    CAccessDescription();
    /// Copies both; a null method gives the empty text. The method is checked by encode().
    CAccessDescription(const char* accessMethod, const CGeneralName& accessLocation);

    /// The service as dotted decimal text, never null: 1.3.6.1.5.5.7.48.1 for OCSP, 1.3.6.1.5.5.7.48.2 for the issuer's
    /// certificates. Valid until the object changes. The setter copies; null counts as empty.
    const char* get_accessMethod() const { return accessMethod_.c_str(); }
    void put_accessMethod(const char* accessMethod);

    /// Where the service is, usually a URI. It comes from the certificate and is not trusted: check scheme and host
    /// before connecting. Valid until the object changes; the setter copies.
    const CGeneralName& get_accessLocation() const { return accessLocation_; }
    void put_accessLocation(const CGeneralName& accessLocation);

    /// The DER of the description. Throws:
    /// - kInvalidArgument: the method is not dotted decimal text, or the location holds nothing.
    /// - kAsn1Error: the location cannot be encoded (CGeneralName::encode).
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the description are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not an AccessDescription.
    /// - kInvalidArgument: the location is of a kind without support.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Equal method text and, by the rule of CGeneralName, equal location.
    bool operator==(const CAccessDescription& other) const;

private:
    CStringProxy accessMethod_;
    CGeneralName accessLocation_;
};

/// Access descriptions in wire order:
///
///   AuthorityInfoAccessSyntax ::= SEQUENCE SIZE (1..MAX) OF AccessDescription
///
/// The minimum is not enforced: an empty list is read and written as an empty SEQUENCE.
class TALLOW_EXPORT CAuthorityInfoAccessSyntax : public std::list<CAccessDescription> {
public:
    /// The DER of the list, also of an empty one. Throws what CAccessDescription::encode throws.
    CBlob encode() const;

    /// Replaces the whole content; octets after the list are ignored. One location without support makes the whole list
    /// fail, since an entry must not be overlooked. Throws, with the list unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kInvalidArgument: a location is of a kind without support.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
