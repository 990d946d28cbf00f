// Certificates referred to by their hash in signed attributes (RFC 5035, sections 4 and 5).
//
//   CESSCertIDv2List certs;
//   certs.emplace_back(sha256OfCertificate);         // the hash of the whole DER certificate
//   CAttrSigningCertificateV2 attribute(certs);
//
// The hash is given, not computed, and its length is not checked. To find out whether an identifier names a
// certificate, hash the certificate and compare the octets; issuer and serial number are only a hint for finding it.
#pragma once

#include <list>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/codec/owned_ptr.h"
#include "asn1/names/issuer_serial.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

struct CESSCertIDImpl;
struct CESSCertIDv2Impl;

/// A certificate by its SHA-1 hash:
///
///   ESSCertID ::= SEQUENCE {
///       certHash     OCTET STRING,
///       issuerSerial IssuerSerial OPTIONAL }
///
/// Copies are deep.
class TALLOW_EXPORT CESSCertID {
public:
    /// Empty hash, no issuer and serial number.
    CESSCertID();
    /// Copies the 20 octets of the hash. SHA-1 no longer protects against two certificates of one hash: prefer
    /// CESSCertIDv2.
    explicit CESSCertID(const CBlob& certHash);
    CESSCertID(const CESSCertID& other);
    CESSCertID& operator=(const CESSCertID& other);
    CESSCertID& operator=(CESSCertID&& other) noexcept;
    ~CESSCertID();

    /// The octets of the hash over the whole DER certificate; empty in a new object. Valid until the object changes;
    /// the setter copies.
    const CBlob& get_certHash() const;
    void put_certHash(const CBlob& certHash);

    /// Issuer and serial number of the certificate. Null when absent; owned by the object and valid until it is changed
    /// or destroyed. The setter copies; null removes. The argument may be what the getter returned.
    const CIssuerSerial* get_issuerSerial() const;
    void put_issuerSerial(const CIssuerSerial* issuerSerial);

    /// The DER of the identifier. An empty hash is written as an empty OCTET STRING. Throws:
    /// - kAsn1Error, kInvalidArgument: as CIssuerSerial::encode, when there is an issuer.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the identifier are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kInvalidArgument: it contains a general name of a kind without support.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Equal hashes, and issuer and serial number equal or absent in both.
    bool operator==(const CESSCertID& other) const;

private:
    copied_ptr<CESSCertIDImpl> impl_;
};

/// The same with any hash algorithm:
///
///   ESSCertIDv2 ::= SEQUENCE {
///       hashAlgorithm AlgorithmIdentifier DEFAULT { algorithm id-sha256 },
///       certHash      OCTET STRING,
///       issuerSerial  IssuerSerial OPTIONAL }
///
/// Copies are deep.
class TALLOW_EXPORT CESSCertIDv2 {
public:
    /// Empty hash, SHA-256 (2.16.840.1.101.3.4.2.1) without parameters, no issuer and serial number.
    CESSCertIDv2();
    /// A SHA-256 hash, 32 octets; in the next constructor a hash of the given algorithm.
    explicit CESSCertIDv2(const CBlob& certHash);
    CESSCertIDv2(const CBlob& certHash, const CAlgorithmIdentifier& hashAlgorithm);
    CESSCertIDv2(const CESSCertIDv2& other);
    CESSCertIDv2& operator=(const CESSCertIDv2& other);
    CESSCertIDv2& operator=(CESSCertIDv2&& other) noexcept;
    ~CESSCertIDv2();

    /// Never absent: the default is returned as SHA-256. Valid until the object changes; the setter copies, and does
    /// not change the hash: set both.
    const CAlgorithmIdentifier& get_hashAlgorithm() const;
    void put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm);

    /// As for CESSCertID.
    const CBlob& get_certHash() const;
    void put_certHash(const CBlob& certHash);
    const CIssuerSerial* get_issuerSerial() const;
    void put_issuerSerial(const CIssuerSerial* issuerSerial);

    /// The DER of the identifier. SHA-256 is omitted as the default, whatever its parameters are: SHA-256 with a NULL
    /// is read back without it, and is then another algorithm identifier. Throws:
    /// - kAsn1Error, kInvalidArgument: as CIssuerSerial::encode and CAlgorithmIdentifier::encode.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// As for CESSCertID. An absent algorithm is read as SHA-256 without parameters.
    void decode(const CBlob& data);

    /// Equal algorithms, parameters included, equal hashes, and issuer and serial number equal or absent in both.
    bool operator==(const CESSCertIDv2& other) const;

private:
    copied_ptr<CESSCertIDv2Impl> impl_;
};

/// Identifiers in wire order; the first one of an attribute is that of the signer's certificate (RFC 5035, section
/// 5.4). The list has no encoding of its own: it is a member of CAttrSigningCertificate.
class TALLOW_EXPORT CESSCertIDList : public std::list<CESSCertID> {
public:
    using std::list<CESSCertID>::list;
};

/// As CESSCertIDList, for CAttrSigningCertificateV2.
class TALLOW_EXPORT CESSCertIDv2List : public std::list<CESSCertIDv2> {
public:
    using std::list<CESSCertIDv2>::list;
};

}  // namespace Orvane::ASN1
