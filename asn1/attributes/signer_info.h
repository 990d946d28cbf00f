// The part of a signed CMS message that belongs to one signer (RFC 5652, section 5.3).
//
//   CSignerInfo info;
//   info.decode(signerInfoDer);
//   auto signer = findCertificate(info.get_issuer(), info.get_serialNumber());
#pragma once

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/algorithms/big_integer.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

/// Who signed, and how:
///
///   SignerInfo ::= SEQUENCE {
///       version            CMSVersion,
///       sid                SignerIdentifier,
///       digestAlgorithm    DigestAlgorithmIdentifier,
///       signedAttrs        [0] IMPLICIT SignedAttributes OPTIONAL,
///       signatureAlgorithm SignatureAlgorithmIdentifier,
///       signature          SignatureValue,
///       unsignedAttrs      [1] IMPLICIT UnsignedAttributes OPTIONAL }
///
/// The attributes are not kept, so there is no encode(). Nothing is verified: until the signature has been checked with
/// the signer's certificate, every field is a claim of the message. Copies are deep; references from getters live until
/// the object changes, and setters copy and check nothing.
class TALLOW_EXPORT CSignerInfo {
public:
    /// Version 0, everything else empty.
    CSignerInfo();

    /// The number on the wire: 1 for a signer named by issuer and serial number. A negative number reads as a large
    /// one.
    unsigned int get_version() const { return version_; }
    void put_version(unsigned int version);

    /// The issuer of the signer's certificate as a DER Name, byte for byte as received; empty until set.
    const CBlob& get_issuer() const { return issuer_; }
    void put_issuer(const CBlob& issuer);

    /// The serial number of the signer's certificate, big-endian two's complement as in DER; without octets until set.
    const CBigInteger& get_serialNumber() const { return serialNumber_; }
    void put_serialNumber(const CBigInteger& serialNumber);

    /// The algorithm of the signature, as the message states it. Some signers state only the kind of the key here.
    const CAlgorithmIdentifier& get_signatureAlgorithm() const { return signatureAlgorithm_; }
    void put_signatureAlgorithm(const CAlgorithmIdentifier& signatureAlgorithm);

    /// The algorithm of the digest over the content and the signed attributes. Whether it fits the signature is not
    /// checked.
    const CAlgorithmIdentifier& get_digestAlgorithm() const { return digestAlgorithm_; }
    void put_digestAlgorithm(const CAlgorithmIdentifier& digestAlgorithm);

    /// The octets of the signature, in the form that the algorithm defines: for ECDSA a DER SEQUENCE, for RSA plain
    /// octets.
    const CBlob& get_signature() const { return signature_; }
    void put_signature(const CBlob& signature);

    /// Replaces the content by that of a DER SignerInfo; octets after it are ignored. Throws, with the object
    /// unchanged:
    /// - kAsn1Error: `data` is empty or not of the type, or identifies the signer's certificate by its key identifier
    ///   instead of issuer and serial number.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// All fields equal; serial numbers are compared as integers.
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
