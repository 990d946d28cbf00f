// Certificates referred to in signed attributes by a plain SHA-1 hash or by a hash with its algorithm (RFC 5126,
// section 5.7.3.3).
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
    /// The alternative sha1Hash, 20 octets; the length is not checked.
    explicit COtherCertID(const CBlob& hash);
    /// The alternative otherHash, for SHA-1 as well.
    COtherCertID(const CBlob& hash, const CAlgorithmIdentifier& hashAlgorithm);
    COtherCertID(const COtherCertID& other);
    COtherCertID& operator=(const COtherCertID& other);
    COtherCertID& operator=(COtherCertID&& other) noexcept;
    ~COtherCertID();

    /// The hash; type 0 in a new object. The setter copies.
    const COtherHash& get_otherCertHash() const;
    void put_otherCertHash(const COtherHash& otherCertHash);

    /// Null when absent. The setter copies; null removes.
    const CIssuerSerial* get_issuerSerial() const;
    void put_issuerSerial(const CIssuerSerial* issuerSerial);

    /// The DER of the identifier. Throws kAsn1Error while no hash is held, and what CIssuerSerial::encode and
    /// CAlgorithmIdentifier::encode throw.
    CBlob encode() const;

    /// Replaces the content. Throws kAsn1Error when `data` is not of the type, and kInvalidArgument for a general name
    /// of a kind without support; the object is then unchanged.
    void decode(const CBlob& data);

    /// Equal hashes, algorithm and parameters included, and issuer and serial number equal or absent in both.
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
