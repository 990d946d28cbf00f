// Certificates referred to in signed attributes by a plain SHA-1 hash or by a hash with its algorithm (RFC 5126,
// section 5.7.3.3).
//
//   COtherCertID id(sha256OfCertificate, CAlgorithmIdentifier("2.16.840.1.101.3.4.2.1"));
//   id.put_issuerSerial(&issuerSerial);              // optional
//   if (received.compare_noHashParam(id)) ...        // names the same certificate
//
// The hash is given, not computed, and its length is not checked.
#pragma once

#include <list>

#include "asn1/attributes/other_hash.h"
#include "asn1/codec/owned_ptr.h"
#include "asn1/names/issuer_serial.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

struct COtherCertIDImpl;

/// A certificate by its hash and, optionally, its issuer and serial number:
///
///   OtherCertID ::= SEQUENCE {
///       otherCertHash OtherHash,
///       issuerSerial  IssuerSerial OPTIONAL }
///
/// Copies are deep. References and pointers from getters live until the object changes.
class TALLOW_EXPORT COtherCertID {
public:
    /// A hash of type 0, which cannot be encoded; no issuer and serial number.
    COtherCertID();
    /// The alternative sha1Hash, 20 octets.
    explicit COtherCertID(const CBlob& hash);
    /// The alternative otherHash, for SHA-1 as well.
    COtherCertID(const CBlob& hash, const CAlgorithmIdentifier& hashAlgorithm);
    COtherCertID(const COtherCertID& other);
    COtherCertID& operator=(const COtherCertID& other);
    COtherCertID& operator=(COtherCertID&& other) noexcept;
    ~COtherCertID();

    /// The hash of the whole DER certificate; type 0 in a new object. The setter copies.
    const COtherHash& get_otherCertHash() const;
    void put_otherCertHash(const COtherHash& otherCertHash);

    /// Null when absent; owned by the object. The setter copies; null removes. The argument may be what the getter
    /// returned.
    const CIssuerSerial* get_issuerSerial() const;
    void put_issuerSerial(const CIssuerSerial* issuerSerial);

    /// The DER of the identifier. Throws:
    /// - kAsn1Error: no hash is held.
    /// - kAsn1Error, kInvalidArgument: as CIssuerSerial::encode and CAlgorithmIdentifier::encode.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the identifier are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kInvalidArgument: it contains a general name of a kind without support.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Equal hashes, algorithm and parameters included, and issuer and serial number equal or absent in both. So an
    /// identifier with issuer and serial number is unequal to the same without.
    bool operator==(const COtherCertID& other) const;

    /// As operator==, but of the hash only the alternative and the octets are compared: algorithms and their parameters
    /// are ignored, since one signer writes a NULL where another omits the parameters.
    [[nodiscard]] bool compare_noHashParam(const COtherCertID& other) const;

private:
    copied_ptr<COtherCertIDImpl> impl_;
};

/// Identifiers in wire order; the first one of an attribute is that of the signer's certificate.
class TALLOW_EXPORT COtherCertIDList : public std::list<COtherCertID> {
public:
    using std::list<COtherCertID>::list;
};

}  // namespace Orvane::ASN1
