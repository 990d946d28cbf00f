// Algorithm identifiers: which hash or signature was used, with its parameters (RFC 5280, section 4.1.1.2).
//
//   CAlgorithmIdentifier sha1("1.3.14.3.2.26");
//   sha1.put_parameters(CBlob(kNull, 2));            // 05 00; without this line the field is absent
//   if (received == sha1) ...                        // false for a responder that omits the NULL
#pragma once

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Identifier of an algorithm and the DER of its parameters:
///
///   AlgorithmIdentifier ::= SEQUENCE {
///       algorithm  OBJECT IDENTIFIER,
///       parameters ANY DEFINED BY algorithm OPTIONAL }
///
/// Copies are deep and throw kAsn1Memory when memory is exhausted; setters throw std::bad_alloc, with the object
/// unchanged. References and pointers from getters live until the object changes.
class TALLOW_EXPORT CAlgorithmIdentifier {
public:
    /// Empty identifier, no parameters; cannot be encoded.
    CAlgorithmIdentifier();
    /// Copies dotted decimal text; null counts as empty. The parameters are absent. A NULL parameter is the two octets
    /// 05 00 given to put_parameters.
    explicit CAlgorithmIdentifier(const char* algorithm);
    CAlgorithmIdentifier(const CAlgorithmIdentifier& other);
    CAlgorithmIdentifier(CAlgorithmIdentifier&& other) noexcept;
    /// Replaces the content; on failure the target keeps its old content. A move leaves the source empty.
    CAlgorithmIdentifier& operator=(const CAlgorithmIdentifier& other);
    CAlgorithmIdentifier& operator=(CAlgorithmIdentifier&& other) noexcept;
    virtual ~CAlgorithmIdentifier();

    /// Copies member by member: on failure (std::bad_alloc) the target may have the new identifier and the old
    /// parameters.
    void assign(const CAlgorithmIdentifier& other);
    /// Exchanges the contents. On objects of the derived class call its own swap, or the numbers stay behind.
    void swap(CAlgorithmIdentifier& other) noexcept;

    /// Dotted decimal text, never null; empty in a new object. The setter copies; null counts as empty; encode() checks
    /// the text. Compare it as text only when both come from decode(): text that was put may have other spellings of a
    /// number.
    const char* get_algorithm() const { return algorithm_.c_str(); }
    virtual void put_algorithm(const char* algorithm);

    /// The whole DER of the parameters, tag included; empty when absent. The setters replace it by copy or move; an
    /// empty blob removes the field. encode() checks it.
    const CBlob& get_parameters() const { return parameters_; }
    void put_parameters(const CBlob& parameters);
    void put_parameters(CBlob&& parameters) noexcept;

    /// The DER of the identifier. Octets after the first element of the parameters are dropped. Throws:
    /// - kAsn1Error: the identifier is not dotted decimal text, the parameters of a known algorithm are not the DER of
    ///   their type, or those of an unknown one are not DER.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the first element of `data` are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type, or the parameters of a known algorithm do not fit it.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// Equal identifier text and equal octets of the parameters: absent parameters and a NULL differ. To compare only
    /// the algorithm, compare get_algorithm().
    bool operator==(const CAlgorithmIdentifier& other) const;

private:
    CStringProxy algorithm_;
    CBlob parameters_;
};

/// An algorithm identifier that remembers the Crypto service's number of the algorithm (an ALG_ID) after it was looked
/// up. The number is reset when the identifier changes; copies keep it.
///
///   CAlgorithmIdentifierEx hash("2.16.840.1.101.3.4.2.1");
///   if (hash.get_algId() == 0) hash.put_algId(CertOIDToAlgId(hash.get_algorithm()));
class TALLOW_EXPORT CAlgorithmIdentifierEx : public CAlgorithmIdentifier {
public:
    CAlgorithmIdentifierEx();
    /// The number is 0 in all three, also for a copy of the base class.
    explicit CAlgorithmIdentifierEx(const char* algorithm);
    explicit CAlgorithmIdentifierEx(const CAlgorithmIdentifier& other);
    CAlgorithmIdentifierEx(const CAlgorithmIdentifierEx& other) = default;
    CAlgorithmIdentifierEx(CAlgorithmIdentifierEx&& other) noexcept = default;
    CAlgorithmIdentifierEx& operator=(const CAlgorithmIdentifierEx& other) = default;
    CAlgorithmIdentifierEx& operator=(CAlgorithmIdentifierEx&& other) noexcept = default;
    ~CAlgorithmIdentifierEx() override;

    /// As in the base class, with the number.
    void assign(const CAlgorithmIdentifierEx& other);
    void swap(CAlgorithmIdentifierEx& other) noexcept;

    /// Does nothing when the text equals the present one; otherwise resets the number, too. So a number that was put
    /// before a new identifier never stays with it.
    void put_algorithm(const char* algorithm) override;

    /// The number; 0 until put. Nothing checks that it belongs to the identifier.
    unsigned int get_algId() const { return algId_; }
    void put_algId(unsigned int algId) { algId_ = algId; }

private:
    unsigned int algId_ = 0;
};

}  // namespace Orvane::ASN1
