// A certificate named in PKI messages (RFC 4211, section 6.5). Not to be confused with the CertID of OCSP,
// message/cert_id.h.
#pragma once

#include "asn1/algorithms/big_integer.h"
#include "asn1/names/general_name.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// Issuer and serial number:
///
///   CertId ::= SEQUENCE {
///       issuer       GeneralName,
///       serialNumber INTEGER }
///
/// Copies are deep; references from getters live until the object changes.
class TALLOW_EXPORT CCertId {
public:
    /// No name and a number without octets; cannot be encoded.
    CCertId();
    CCertId(const CGeneralName& issuer, const CBigInteger& serialNumber);

    /// The issuer, normally a directoryName; type 0 in a new object. The setter copies.
    const CGeneralName& get_issuer() const { return issuer_; }
    void put_issuer(const CGeneralName& issuer);

    /// Big-endian two's complement, as in DER. The setter copies.
    const CBigInteger& get_serialNumber() const { return serialNumber_; }
    void put_serialNumber(const CBigInteger& serialNumber);

    /// The DER of the identifier. Throws kAsn1Error for a number without octets, and what CGeneralName::encode throws,
    /// kInvalidArgument for a name that holds nothing.
    CBlob encode() const;

    /// Replaces the content. Throws kAsn1Error when `data` is not of the type, and kInvalidArgument for a general name
    /// of a kind without support; the object is then unchanged.
    void decode(const CBlob& data);

    /// Names equal by the lenient rule of CGeneralName, and serial numbers equal as integers.
    bool operator==(const CCertId& other) const;

private:
    CGeneralName issuer_;
    CBigInteger serialNumber_;
};

}  // namespace Orvane::ASN1
