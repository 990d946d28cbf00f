// CertID and ReqCert: how a request or a single response names the certificate it is about (RFC 6960, 4.1.1).
//
//   CertID  ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier, issuerNameHash OCTET STRING,
//                          issuerKeyHash OCTET STRING, serialNumber CertificateSerialNumber }
//   ReqCert ::= CHOICE { certID CertID, fullCertificate [0] FullCertificate,
//                        certIdWithSignature [1] CertIdWithSignature }
//
// ReqCert replaces the plain CertID of RFC 6960; its first alternative has no tag, so plain messages are
// that alternative.
#pragma once

#include <optional>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/algorithms/big_integer.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::PKI::OCSP {

/// Names a certificate by its issuer's name and key, both hashed, and its serial number. A default-constructed object
/// names nothing: its serial number has length 0.
class TALLOW_EXPORT CCertID {
public:
    CCertID();

    /// Computes the identifier of `certificate` (whole DER) under `issuerCertificate` (whole DER) with `hashAlgorithm`.
    /// The name hash is taken over the issuer's subject, the key hash over the content of its subjectPublicKey BIT
    /// STRING without the unused-bits octet. Throws the converted last error when either is no certificate, or the hash
    /// algorithm is not available: entries of a response name algorithms of the responder's choice, and a search over
    /// them must continue after one that cannot be computed.
    CCertID(const ASN1::CAlgorithmIdentifierEx& hashAlgorithm, const CBlob& certificate,
            const CBlob& issuerCertificate);

    CCertID(const CCertID&);
    CCertID(CCertID&&) noexcept;
    CCertID& operator=(const CCertID&);
    CCertID& operator=(CCertID&&) noexcept;
    ~CCertID();

    const ASN1::CAlgorithmIdentifier& get_hashAlgorithm() const { return hashAlgorithm_; }
    const CBlob& get_issuerNameHash() const { return issuerNameHash_; }
    const CBlob& get_issuerKeyHash() const { return issuerKeyHash_; }
    /// Big-endian two's complement, exactly the contents of the DER INTEGER.
    const ASN1::CBigInteger& get_serialNumber() const { return serialNumber_; }

    void put_hashAlgorithm(const ASN1::CAlgorithmIdentifier& value);
    void put_issuerNameHash(const CBlob& value);
    void put_issuerKeyHash(const CBlob& value);
    void put_serialNumber(const ASN1::CBigInteger& value);

private:
    friend struct CertIdTraits;

    void compute(const CBlob& certificate, const CBlob& issuerCertificate);

    ASN1::CAlgorithmIdentifier hashAlgorithm_;
    CBlob issuerNameHash_;
    CBlob issuerKeyHash_;
    ASN1::CBigInteger serialNumber_;
};

/// True when issuer hashes and serial number are the same. The hash algorithm is not compared: within one message the
/// hashes already tell entries apart, and responders are known to differ in the algorithm's parameters.
[[nodiscard]] TALLOW_EXPORT bool namesSameCertificate(const CCertID& left, const CCertID& right);

/// One of the three ways to name a certificate. Alternatives other than certID are carried, not interpreted.
class TALLOW_EXPORT CReqCert {
public:
    explicit CReqCert(const CCertID& certID);
    explicit CReqCert(CCertID&& certID) noexcept;
    CReqCert(const CReqCert&);
    CReqCert(CReqCert&&) noexcept;
    CReqCert& operator=(const CReqCert&);
    CReqCert& operator=(CReqCert&&) noexcept;
    ~CReqCert();

    /// Null when another alternative is held.
    const CCertID* get_certID() const { return certID_ ? &*certID_ : nullptr; }
    /// The whole encoding of an alternative other than certID; null when certID is held.
    const CBlob* get_otherAlternative() const { return certID_ ? nullptr : &encoded_; }

    /// Makes an object that holds the given encoding of fullCertificate or certIdWithSignature.
    static CReqCert fromOtherAlternative(CBlob encoded);

private:
    CReqCert();

    std::optional<CCertID> certID_;
    CBlob encoded_;
};

}  // namespace Orvane::PKI::OCSP
