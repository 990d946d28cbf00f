// The hash by which a certificate is referred to (RFC 5126, section 5.7.3.3):
//
//   OtherHash           ::= CHOICE   { sha1Hash OCTET STRING, otherHash OtherHashAlgAndValue }
//   OtherHashAlgAndValue ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier, hashValue OCTET STRING }
#pragma once

#include <memory>

#include "asn1/algorithms/algorithm_identifier.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

class COtherHashImpl;

/// Hash algorithm and hash. Copies are deep.
class TALLOW_EXPORT COtherHashAlgAndValue {
public:
    COtherHashAlgAndValue();
    COtherHashAlgAndValue(const CAlgorithmIdentifier& hashAlgorithm, const CBlob& hashValue);

    const CAlgorithmIdentifier& get_hashAlgorithm() const { return hashAlgorithm_; }
    void put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm);

    const CBlob& get_hashValue() const { return hashValue_; }
    void put_hashValue(const CBlob& hashValue);

    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is not of the type.
    void decode(const CBlob& data);

    bool operator==(const COtherHashAlgAndValue& other) const;

    /// Equal hash bytes; the algorithms are not looked at.
    bool compare_hashValue(const COtherHashAlgAndValue& other) const;

private:
    CAlgorithmIdentifier hashAlgorithm_;
    CBlob hashValue_;
};

/// The choice between a plain SHA-1 hash and a hash with its algorithm. Copies are deep.
class TALLOW_EXPORT COtherHash {
public:
    /// Holds nothing: type 0.
    COtherHash();
    explicit COtherHash(const CBlob& sha1Hash);
    explicit COtherHash(const COtherHashAlgAndValue& otherHash);
    COtherHash(const COtherHash& other);
    COtherHash(COtherHash&& other) noexcept;
    COtherHash& operator=(const COtherHash& other);
    COtherHash& operator=(COtherHash&& other) noexcept;
    virtual ~COtherHash();

    /// Forgets the value held; the object is as after the default constructor.
    void clear();

    /// 0 when nothing is held, 1 for sha1Hash, 2 for otherHash.
    unsigned int get_type() const;

    /// Null when another alternative is held; valid until the object is changed or destroyed.
    const CBlob* get_sha1Hash() const;
    const COtherHashAlgAndValue* get_otherHash() const;
    void put_sha1Hash(const CBlob& sha1Hash);
    void put_otherHash(const COtherHashAlgAndValue& otherHash);

    /// The DER of the choice. Throws Asn1Error when nothing is held.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is not of the type.
    void decode(const CBlob& data);

    bool operator==(const COtherHash& other) const;

    /// Same alternative and equal hash bytes; the algorithms are not looked at.
    bool compare_hashValue(const COtherHash& other) const;

private:
    std::unique_ptr<COtherHashImpl> impl_;
};

}  // namespace Orvane::ASN1
