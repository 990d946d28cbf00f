// The part of a signed CMS message that belongs to one signer (RFC 5652, section 5.3):
//
//   SignerInfo ::= SEQUENCE { version CMSVersion, sid SignerIdentifier, digestAlgorithm AlgorithmIdentifier,
//                             signedAttrs [0] IMPLICIT SignedAttributes OPTIONAL,
//                             signatureAlgorithm AlgorithmIdentifier, signature OCTET STRING,
//                             unsignedAttrs [1] IMPLICIT UnsignedAttributes OPTIONAL }
#pragma once

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/algorithms/big_integer.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// Who signed, and how. The attributes have no place here, so there is no encode(). Copies are deep.
class TALLOW_EXPORT CSignerInfo {
public:
    /// Version 0, all else empty.
    CSignerInfo();

    unsigned int get_version() const { return version_; }
    void put_version(unsigned int version);

    /// The DER of the name of the issuer of the signer's certificate.
    const CBlob& get_issuer() const { return issuer_; }
    void put_issuer(const CBlob& issuer);

    /// The serial number of the signer's certificate.
    const CBigInteger& get_serialNumber() const { return serialNumber_; }
    void put_serialNumber(const CBigInteger& serialNumber);

    const CAlgorithmIdentifier& get_signatureAlgorithm() const { return signatureAlgorithm_; }
    void put_signatureAlgorithm(const CAlgorithmIdentifier& signatureAlgorithm);

    const CAlgorithmIdentifier& get_digestAlgorithm() const { return digestAlgorithm_; }
    void put_digestAlgorithm(const CAlgorithmIdentifier& digestAlgorithm);

    const CBlob& get_signature() const { return signature_; }
    void put_signature(const CBlob& signature);

    /// Replaces the content by that of a DER SignerInfo. Throws Asn1Error, with the object unchanged, when `data` is
    /// not of the type, and when it names the signer's certificate by another thing than issuer and serial number.
    void decode(const CBlob& data);

    /// All fields equal; serial numbers compare as integers.
    bool operator==(const CSignerInfo& other) const;

private:
    unsigned int version_ = 0;
    CBlob issuer_;
    CBigInteger serialNumber_;
    CAlgorithmIdentifier signatureAlgorithm_;
    CAlgorithmIdentifier digestAlgorithm_;
    CBlob signature_;
};

}  // namespace Orvane::ASN1
