// The hash by which a certificate is referred to (RFC 5126, section 5.7.3.3): SHA-1, or a hash with its algorithm.
//
//   COtherHash hash;
//   hash.decode(der);
//   if (const CBlob* sha1 = hash.get_sha1Hash()) ...
//   else if (const COtherHashAlgAndValue* other = hash.get_otherHash()) ...
//
// A hash that was read is a claim of the message: compute that of the certificate and compare.
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
    /// Both empty; cannot be encoded, since the algorithm has no identifier. In the next constructor copies of the
    /// arguments, which encode() checks.
    COtherHashAlgAndValue();
    COtherHashAlgAndValue(const CAlgorithmIdentifier& hashAlgorithm, const CBlob& hashValue);

    /// The algorithm of the hash, with or without a NULL as its parameters. The setter copies.
    const CAlgorithmIdentifier& get_hashAlgorithm() const { return hashAlgorithm_; }
    void put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm);

    /// The octets of the hash, whose length is not checked. The setter copies.
    const CBlob& get_hashValue() const { return hashValue_; }
    void put_hashValue(const CBlob& hashValue);

    /// The DER of the pair. Throws:
    /// - kAsn1Error: the algorithm cannot be encoded (CAlgorithmIdentifier::encode).
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the pair are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Equal algorithms, parameters included, and equal hashes.
    bool operator==(const COtherHashAlgAndValue& other) const;

    /// Equal octets of the hash; the algorithms are ignored, so compare them where two algorithms of one length can
    /// occur.
    bool compare_hashValue(const COtherHashAlgAndValue& other) const;

private:
    CAlgorithmIdentifier hashAlgorithm_;
    CBlob hashValue_;
};

/// One of the two forms. Both can hold a SHA-1 hash; writers should use sha1Hash for it:
///
///   OtherHash ::= CHOICE {
///       sha1Hash  OCTET STRING,
///       otherHash OtherHashAlgAndValue }
///
/// Copies are deep; an object that was moved from holds nothing. Copies throw std::bad_alloc, with the target
/// unchanged.
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
    /// remove the other alternative; the argument may come from a getter of this object.
    const CBlob* get_sha1Hash() const;
    const COtherHashAlgAndValue* get_otherHash() const;
    void put_sha1Hash(const CBlob& sha1Hash);
    void put_otherHash(const COtherHashAlgAndValue& otherHash);

    /// The DER of the choice. Throws:
    /// - kAsn1Error: nothing is held, or the algorithm cannot be encoded.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the choice are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
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
