// Certificates referred to by a hash of either form in signed attributes (RFC 5126, section 5.7.3.3):
//
//   OtherCertID ::= SEQUENCE { otherCertHash OtherHash, issuerSerial IssuerSerial OPTIONAL }
#pragma once

#include <list>

#include "asn1/attributes/other_hash.h"
#include "asn1/codec/owned_ptr.h"
#include "asn1/names/issuer_serial.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

struct COtherCertIDImpl;

/// A certificate by its SHA-1 hash, or by a hash with its algorithm. Copies are deep.
class TALLOW_EXPORT COtherCertID {
public:
    /// A hash of type 0, which cannot be encoded; no issuer and serial number.
    COtherCertID();
    /// The alternative sha1Hash.
    explicit COtherCertID(const CBlob& hash);
    /// The alternative otherHash, also for SHA-1.
    COtherCertID(const CBlob& hash, const CAlgorithmIdentifier& hashAlgorithm);
    COtherCertID(const COtherCertID& other);
    COtherCertID& operator=(const COtherCertID& other);
    ~COtherCertID();

    const COtherHash& get_otherCertHash() const;
    void put_otherCertHash(const COtherHash& otherCertHash);

    /// Null when absent; owned by the object and valid until it is changed or destroyed. The setter copies, and null
    /// removes.
    const CIssuerSerial* get_issuerSerial() const;
    void put_issuerSerial(const CIssuerSerial* issuerSerial);

    /// The DER of the identifier. Throws Asn1Error while no hash is held.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not of the type, and InvalidArgument for a general name of
    /// a kind without support; the object is then unchanged.
    void decode(const CBlob& data);

    /// Equal hashes, algorithm and parameters included, and issuer and serial number equal or absent in both.
    bool operator==(const COtherCertID& other) const;

    /// As operator==, but of the hash only the alternative and the bytes are compared: algorithms and their parameters
    /// are not looked at, since one signer writes a NULL where another leaves the parameters out.
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
