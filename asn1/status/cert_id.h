// A certificate named in PKI messages (RFC 4211, section 6.5):
//
//   CertId ::= SEQUENCE { issuer GeneralName, serialNumber INTEGER }
//
// Not to be confused with the CertID of OCSP, which is message/cert_id.h.
#pragma once

#include "asn1/algorithms/big_integer.h"
#include "asn1/names/general_name.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// Issuer and serial number. Copies are deep.
class TALLOW_EXPORT CCertId {
public:
    /// No name and a number without bytes; cannot be encoded.
    CCertId();
    CCertId(const CGeneralName& issuer, const CBigInteger& serialNumber);

    const CGeneralName& get_issuer() const { return issuer_; }
    void put_issuer(const CGeneralName& issuer);

    const CBigInteger& get_serialNumber() const { return serialNumber_; }
    void put_serialNumber(const CBigInteger& serialNumber);

    /// The DER of the identifier. Throws InvalidArgument for a name that holds nothing, and Asn1Error for a number
    /// without bytes.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not of the type, and InvalidArgument for a general name of
    /// a kind without support; the object is then unchanged.
    void decode(const CBlob& data);

    /// Names equal as CGeneralName compares them, and serial numbers equal as integers.
    bool operator==(const CCertId& other) const;

private:
    CGeneralName issuer_;
    CBigInteger serialNumber_;
};

}  // namespace Orvane::ASN1
