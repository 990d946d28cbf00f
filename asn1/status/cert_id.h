// A certificate named in PKI messages (RFC 4211, section 6.5). Not to be confused with the CertID of OCSP,
// message/cert_id.h, which names the issuer by hashes.
//
//   CGeneralName issuer;
//   issuer.put_directoryName(issuerDer);
//   CCertId id(issuer, serialNumber);
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
    /// Copies of the arguments, which encode() checks.
    CCertId(const CGeneralName& issuer, const CBigInteger& serialNumber);

    /// The issuer, normally a directoryName; type 0 in a new object. The setter copies.
    const CGeneralName& get_issuer() const { return issuer_; }
    void put_issuer(const CGeneralName& issuer);

    /// Big-endian two's complement, as in DER; without octets in a new object. The setter copies.
    const CBigInteger& get_serialNumber() const { return serialNumber_; }
    void put_serialNumber(const CBigInteger& serialNumber);

    /// The DER of the identifier. Throws:
    /// - kAsn1Error: the number has no octets.
    /// - kInvalidArgument: the name holds nothing.
    /// - kAsn1Error, kInvalidArgument: as CGeneralName::encode.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the identifier are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kInvalidArgument: it contains a general name of a kind without support.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Names equal by the lenient rule of CGeneralName, and serial numbers equal as integers.
    bool operator==(const CCertId& other) const;

private:
    CGeneralName issuer_;
    CBigInteger serialNumber_;
};

}  // namespace Orvane::ASN1
