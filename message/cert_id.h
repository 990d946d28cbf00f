// CertID and ReqCert: how a request or a single response names the certificate it is about (RFC 6960, 4.1.1).
//
//   CertID  ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier, issuerNameHash OCTET STRING,
//                          issuerKeyHash OCTET STRING, serialNumber CertificateSerialNumber }
//   ReqCert ::= CHOICE { certID CertID, fullCertificate [0] FullCertificate,
//                        certIdWithSignature [1] CertIdWithSignature }
//
// ReqCert stands where RFC 6960 has a plain CertID; its first alternative has no tag of its own, so plain messages are
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
    /// them has to continue after one that cannot be computed.
    CCertID(ASN1::CAlgorithmIdentifierEx const& hashAlgorithm, CBlob const& certificate,
            CBlob const& issuerCertificate);

    CCertID(CCertID const&);
    CCertID(CCertID&&) noexcept;
    CCertID& operator=(CCertID const&);
    CCertID& operator=(CCertID&&) noexcept;
    ~CCertID();

    ASN1::CAlgorithmIdentifier const& get_hashAlgorithm() const { return hashAlgorithm_; }
    CBlob const& get_issuerNameHash() const { return issuerNameHash_; }
    CBlob const& get_issuerKeyHash() const { return issuerKeyHash_; }
    /// Big-endian two's complement, exactly as the INTEGER's contents stand in DER.
    ASN1::CBigInteger const& get_serialNumber() const { return serialNumber_; }

    void put_hashAlgorithm(ASN1::CAlgorithmIdentifier const& value);
    void put_issuerNameHash(CBlob const& value);
    void put_issuerKeyHash(CBlob const& value);
    void put_serialNumber(ASN1::CBigInteger const& value);

private:
    friend struct CertIdTraits;

    void compute(CBlob const& certificate, CBlob const& issuerCertificate);

    ASN1::CAlgorithmIdentifier hashAlgorithm_;
    CBlob issuerNameHash_;
    CBlob issuerKeyHash_;
    ASN1::CBigInteger serialNumber_;
};

/// True when issuer hashes and serial number are the same. The hash algorithm is not compared: within one message the
/// hashes already tell entries apart, and responders are known to differ in the algorithm's parameters.
[[nodiscard]] TALLOW_EXPORT bool namesSameCertificate(CCertID const& left, CCertID const& right);

/// One of the three ways to name a certificate. Alternatives other than certID are carried, not interpreted.
class TALLOW_EXPORT CReqCert {
public:
    explicit CReqCert(CCertID const& certID);
    explicit CReqCert(CCertID&& certID) noexcept;
    CReqCert(CReqCert const&);
    CReqCert(CReqCert&&) noexcept;
    CReqCert& operator=(CReqCert const&);
    CReqCert& operator=(CReqCert&&) noexcept;
    ~CReqCert();

    /// Null when another alternative is held.
    CCertID const* get_certID() const { return certID_ ? &*certID_ : nullptr; }
    /// The whole encoding of an alternative other than certID; null when certID is held.
    CBlob const* get_otherAlternative() const { return certID_ ? nullptr : &encoded_; }

    /// Makes an object that holds the given encoding of fullCertificate or certIdWithSignature.
    static CReqCert fromOtherAlternative(CBlob encoded);

private:
    CReqCert();

    std::optional<CCertID> certID_;
    CBlob encoded_;
};

}  // namespace Orvane::PKI::OCSP
