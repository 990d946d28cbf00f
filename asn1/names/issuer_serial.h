// A certificate named by its issuer and serial number, as in references to signing certificates (RFC 5755, section 4.1,
// and RFC 5035, section 5).
//
//   CGeneralName issuer;
//   issuer.put_directoryName(issuerDer);             // the DER of the Name
//   CGeneralNames names;
//   names.push_back(issuer);
//   CIssuerSerial id(names, serialNumber);
//
// Issuer and serial number identify a certificate only as long as the CA keeps its numbers unique: compare a hash, too.
#pragma once

#include "asn1/algorithms/big_integer.h"
#include "asn1/names/general_name.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// Issuer and serial number:
///
///   IssuerSerial ::= SEQUENCE {
///       issuer    GeneralNames,
///       serial    CertificateSerialNumber,
///       issuerUID UniqueIdentifier OPTIONAL }
///
/// issuerUID is not kept. Copies are deep. An empty object has no names and a number without octets, and cannot be
/// encoded.
class TALLOW_EXPORT CIssuerSerial {
public:
    /// No names and a number without octets, or copies of the arguments, which encode() checks.
    CIssuerSerial();
    CIssuerSerial(const CGeneralNames& issuer, const CBigInteger& serialNumber);

    /// The names of the issuer; RFC 5035 requires exactly one, a directoryName. The reference lives until the object
    /// changes; the setter copies.
    const CGeneralNames& get_issuer() const { return issuer_; }
    void put_issuer(const CGeneralNames& issuer);

    /// Big-endian two's complement, as in DER. The reference lives until the object changes; the setter copies.
    const CBigInteger& get_serialNumber() const { return serialNumber_; }
    void put_serialNumber(const CBigInteger& serialNumber);

    /// The DER of the pair. An empty list of names is written as an empty SEQUENCE. Throws:
    /// - kAsn1Error: the number has no octets.
    /// - kAsn1Error, kInvalidArgument: as CGeneralName::encode, for one of the names.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the pair are ignored, and so is issuerUID. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kInvalidArgument: it contains a general name of a kind without support.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Issuers equal element by element in order, by the lenient rule of CGeneralName, and serial numbers equal as
    /// integers.
    bool operator==(const CIssuerSerial& other) const;

private:
    CGeneralNames issuer_;
    CBigInteger serialNumber_;
};

}  // namespace Orvane::ASN1
