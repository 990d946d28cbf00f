// The hash by which a certificate is referred to (RFC 5126, section 5.7.3.3): SHA-1, or a hash with its algorithm.
#pragma once

#include <memory>

#include "asn1/algorithms/algorithm_identifier.h"
#include "export.h"
#include "foundation/blob.h"

namespace Orvane::ASN1 {

class COtherHashImpl;

/// Hash algorithm and hash:
///
///   OtherHashAlgAndValue ::= SEQUENCE {
///       hashAlgorithm AlgorithmIdentifier,
///       hashValue     OCTET STRING }
///
/// Copies are deep. References from getters live until the object changes.
class TALLOW_EXPORT COtherHashAlgAndValue {
public:
    /// Both empty; cannot be encoded, since the algorithm has no identifier.
    COtherHashAlgAndValue();
    COtherHashAlgAndValue(const CAlgorithmIdentifier& hashAlgorithm, const CBlob& hashValue);

    /// The algorithm of the hash. The setter copies.
    const CAlgorithmIdentifier& get_hashAlgorithm() const { return hashAlgorithm_; }
    void put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm);

    /// The octets of the hash, whose length is not checked. The setter copies.
    const CBlob& get_hashValue() const { return hashValue_; }
    void put_hashValue(const CBlob& hashValue);

    /// The DER of the pair. Throws what CAlgorithmIdentifier::encode throws.
    CBlob encode() const;

    /// Replaces the content. Throws kAsn1Error, with the object unchanged, when `data` is not of the type.
    void decode(const CBlob& data);

    /// Equal algorithms, parameters included, and equal hashes.
    bool operator==(const COtherHashAlgAndValue& other) const;

    /// Equal octets of the hash; the algorithms are ignored.
    bool compare_hashValue(const COtherHashAlgAndValue& other) const;

private:
    CAlgorithmIdentifier hashAlgorithm_;
    CBlob hashValue_;
};

/// One of the two forms:
///
///   OtherHash ::= CHOICE {
///       sha1Hash  OCTET STRING,
///       otherHash OtherHashAlgAndValue }
///
/// Copies are deep.
class TALLOW_EXPORT COtherHash {
public:
    /// Holds nothing: type 0.
    COtherHash();
    /// Holds a copy of the argument as the alternative that its type names.
    explicit COtherHash(const CBlob& sha1Hash);
    explicit COtherHash(const COtherHashAlgAndValue& otherHash);
    COtherHash(const COtherHash& other);
    COtherHash(COtherHash&& other) noexcept;
    COtherHash& operator=(const COtherHash& other);
    COtherHash& operator=(COtherHash&& other) noexcept;
    virtual ~COtherHash();

    /// Removes the value; the object is as after the default constructor.
    void clear();

    /// 0 when nothing is held, 1 for sha1Hash, 2 for otherHash.
    unsigned int get_type() const;

    /// Null when another alternative is held; valid until the object is changed or destroyed. The setters copy and
    /// remove the other alternative.
    const CBlob* get_sha1Hash() const;
    const COtherHashAlgAndValue* get_otherHash() const;
    void put_sha1Hash(const CBlob& sha1Hash);
    void put_otherHash(const COtherHashAlgAndValue& otherHash);

    /// The DER of the choice. Throws kAsn1Error when nothing is held, and what COtherHashAlgAndValue::encode throws.
    CBlob encode() const;

    /// Replaces the content. Throws kAsn1Error, with the object unchanged, when `data` is not of the type.
    void decode(const CBlob& data);

    /// Same alternative and equal values, or nothing held in both. A SHA-1 hash in one form is unequal to the same in
    /// the other.
    bool operator==(const COtherHash& other) const;

    /// Same alternative and equal octets of the hash; the algorithms are ignored.
    bool compare_hashValue(const COtherHash& other) const;

private:
    std::unique_ptr<COtherHashImpl> impl_;
};

}  // namespace Orvane::ASN1
