// A certificate named by its issuer and serial number (RFC 5755, section 4.1):
//
//   IssuerSerial ::= SEQUENCE { issuer GeneralNames, serialNumber CertificateSerialNumber }
#pragma once

#include "asn1/algorithms/big_integer.h"
#include "asn1/names/general_name.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// Issuer and serial number. Copies are deep. An empty object has no names and a number without bytes, and cannot be
/// encoded.
class TALLOW_EXPORT CIssuerSerial {
public:
    CIssuerSerial();
    CIssuerSerial(const CGeneralNames& issuer, const CBigInteger& serialNumber);

    const CGeneralNames& get_issuer() const { return issuer_; }
    void put_issuer(const CGeneralNames& issuer);

    const CBigInteger& get_serialNumber() const { return serialNumber_; }
    void put_serialNumber(const CBigInteger& serialNumber);

    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not of the type, and InvalidArgument for a general name of
    /// a kind without support; the object is then unchanged.
    void decode(const CBlob& data);

    /// Issuers equal element by element in order, and serial numbers equal as integers.
    bool operator==(const CIssuerSerial& other) const;

private:
    CGeneralNames issuer_;
    CBigInteger serialNumber_;
};

}  // namespace Orvane::ASN1
