// Authority information access (RFC 5280, section 4.2.2.1):
//
//   AuthorityInfoAccessSyntax ::= SEQUENCE SIZE (1..MAX) OF AccessDescription
//   AccessDescription         ::= SEQUENCE { accessMethod OBJECT IDENTIFIER, accessLocation GeneralName }
#pragma once

#include <list>

#include "asn1/names/general_name.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// One way of reaching a service of the issuer. Copies are deep. An empty object has no method and a general name of
/// type 0, and cannot be encoded.
class TALLOW_EXPORT CAccessDescription {
public:
    CAccessDescription();
    /// Copies both; a null method gives the empty text. The method is checked by encode().
    CAccessDescription(const char* accessMethod, const CGeneralName& accessLocation);

    /// The OID of the service in dotted decimal (1.3.6.1.5.5.7.48.1 for OCSP), never null. Valid until the object
    /// changes. The setter copies; null gives the empty text.
    const char* get_accessMethod() const { return accessMethod_.c_str(); }
    void put_accessMethod(const char* accessMethod);

    /// Where the service is, usually a URI. Valid until the object changes; the setter copies.
    const CGeneralName& get_accessLocation() const { return accessLocation_; }
    void put_accessLocation(const CGeneralName& accessLocation);

    /// The DER of the description. Throws InvalidArgument for a method that is not dotted decimal text or a location
    /// that cannot be encoded.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not an AccessDescription, and InvalidArgument for a
    /// location of a kind without support; the object is then unchanged.
    void decode(const CBlob& data);

    /// Equal method text and, by the rule of CGeneralName, equal location.
    bool operator==(const CAccessDescription& other) const;

private:
    CStringProxy accessMethod_;
    CGeneralName accessLocation_;
};

/// Access descriptions in wire order.
class TALLOW_EXPORT CAuthorityInfoAccessSyntax : public std::list<CAccessDescription> {
public:
    /// The DER of the list, also of an empty one. Throws what CAccessDescription::encode throws.
    CBlob encode() const;

    /// Replaces the whole content. Throws Asn1Error when `data` is not of the type, and InvalidArgument for a location
    /// of a kind without support; the list is then unchanged.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
