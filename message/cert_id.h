// CertID and ReqCert: how a request or a single response names the certificate it is about (RFC 6960, section 4.1.1).
//
//   ASN1::CAlgorithmIdentifierEx sha1("1.3.14.3.2.26");
//   CCertID asked(sha1, leafDer, issuerDer);
//   const CCertID* answered = entry.get_reqCert().get_certID();
//   if (answered != nullptr && namesSameCertificate(asked, *answered)) ...
#pragma once

#include <optional>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/algorithms/big_integer.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::PKI::OCSP {

/// Names a certificate by its issuer's name and key, both hashed, and its serial number:
///
///   CertID ::= SEQUENCE {
///       hashAlgorithm  AlgorithmIdentifier,
///       issuerNameHash OCTET STRING,            -- hash of the issuer's DN
///       issuerKeyHash  OCTET STRING,            -- hash of the issuer's public key
///       serialNumber   CertificateSerialNumber }
///
/// A default-constructed object names nothing: the identifier of the algorithm, both hashes and the serial number are
/// empty, and it cannot be encoded. Copies are deep.
class TALLOW_EXPORT CCertID {
public:
    CCertID();

    /// Computes the identifier of `certificate` (whole DER) issued by `issuerCertificate` (whole DER), with
    /// `hashAlgorithm`. The name hash covers the issuer's subject in DER. The key hash covers the content of the
    /// issuer's subjectPublicKey BIT STRING without the octet that counts unused bits, not the whole
    /// SubjectPublicKeyInfo. Whether the issuer signed the certificate is not checked.
    ///
    /// Throws the converted last error when either is not a certificate or the hash algorithm is not available. Entries
    /// of a response name algorithms that the responder chose: a search over them must continue after one that cannot
    /// be computed. Throws kAsn1Memory when memory is exhausted.
    CCertID(const ASN1::CAlgorithmIdentifierEx& hashAlgorithm, const CBlob& certificate,
            const CBlob& issuerCertificate);

    CCertID(const CCertID&);
    CCertID(CCertID&&) noexcept;
    CCertID& operator=(const CCertID&);
    CCertID& operator=(CCertID&&) noexcept;
    ~CCertID();

    /// The algorithm of both hashes, and the hashes: octets without a tag, empty until set. A decoded identifier is not
    /// checked: a hash may have any length, also one that the algorithm never produces. References live until the
    /// object changes.
    const ASN1::CAlgorithmIdentifier& get_hashAlgorithm() const { return hashAlgorithm_; }
    const CBlob& get_issuerNameHash() const { return issuerNameHash_; }
    const CBlob& get_issuerKeyHash() const { return issuerKeyHash_; }
    /// The serial number as big-endian two's complement, exactly the content octets of the DER INTEGER. RFC 5280 allows
    /// at most 20 octets; longer ones are kept as read. The service keeps serial numbers least significant octet first:
    /// reverse() converts.
    const ASN1::CBigInteger& get_serialNumber() const { return serialNumber_; }

    /// Each setter copies its argument and checks nothing; an invalid value fails when the message is encoded.
    void put_hashAlgorithm(const ASN1::CAlgorithmIdentifier& value);
    void put_issuerNameHash(const CBlob& value);
    void put_issuerKeyHash(const CBlob& value);
    void put_serialNumber(const ASN1::CBigInteger& value);

private:
    friend struct CertIdTraits;

    ASN1::CAlgorithmIdentifier hashAlgorithm_;
    CBlob issuerNameHash_;
    CBlob issuerKeyHash_;
    ASN1::CBigInteger serialNumber_;
};

/// Compares issuer hashes octet by octet, and serial numbers as integers. The hash algorithm is not compared: within
/// one message the hashes already distinguish the entries, and responders are known to differ in the parameters (absent
/// or NULL).
[[nodiscard]] bool namesSameCertificate(const CCertID& left, const CCertID& right);

/// One of the three ways to name a certificate:
///
///   ReqCert ::= CHOICE {
///       certID              CertID,
///       fullCertificate     [0] FullCertificate,
///       certIdWithSignature [1] CertIdWithSignature }
///
/// It takes the place of the plain CertID of RFC 6960. The first alternative has no tag, so that every message of RFC
/// 6960 decodes as certID and is encoded as that RFC demands. The other alternatives are carried, not interpreted.
/// Copies are deep; after a move the source may only be assigned to or destroyed.
class TALLOW_EXPORT CReqCert {
public:
    /// Holds certID.
    explicit CReqCert(const CCertID& certID);
    explicit CReqCert(CCertID&& certID) noexcept;
    CReqCert(const CReqCert&);
    CReqCert(CReqCert&&) noexcept;
    CReqCert& operator=(const CReqCert&);
    CReqCert& operator=(CReqCert&&) noexcept;
    ~CReqCert();

    /// The identifier; null when another alternative is held. Such an entry cannot be matched by namesSameCertificate,
    /// so skip it. Valid until the object changes.
    const CCertID* get_certID() const { return certID_ ? &*certID_ : nullptr; }
    /// The whole DER of an alternative other than certID, tag included; null when certID is held. Valid until the
    /// object changes.
    const CBlob* get_otherAlternative() const { return certID_ ? nullptr : &encoded_; }

    /// Makes an object that holds the given encoding of fullCertificate or certIdWithSignature. The bytes are not
    /// checked here; encoding a message with bytes that are not a ReqCert throws kAsn1Error.
    static CReqCert fromOtherAlternative(CBlob encoded);

private:
    CReqCert();

    std::optional<CCertID> certID_;
    CBlob encoded_;
};

}  // namespace Orvane::PKI::OCSP
