// Algorithm identifiers (RFC 5280, section 4.1.1.2):
//
//   AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY DEFINED BY algorithm OPTIONAL }
#pragma once

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// Identifier of an algorithm and the DER of its parameters. Copies are deep.
class TALLOW_EXPORT CAlgorithmIdentifier {
public:
    /// Empty identifier, no parameters.
    CAlgorithmIdentifier();
    /// No parameters: the field is left out. A NULL parameter is the two bytes 05 00 given to put_parameters.
    explicit CAlgorithmIdentifier(const char* algorithm);
    CAlgorithmIdentifier(const CAlgorithmIdentifier& other);
    CAlgorithmIdentifier(CAlgorithmIdentifier&& other) noexcept;
    /// A failure leaves the target whole.
    CAlgorithmIdentifier& operator=(const CAlgorithmIdentifier& other);
    CAlgorithmIdentifier& operator=(CAlgorithmIdentifier&& other) noexcept;
    virtual ~CAlgorithmIdentifier();

    /// Member by member: a failure may leave the target with the new identifier and the old parameters.
    void assign(const CAlgorithmIdentifier& other);
    void swap(CAlgorithmIdentifier& other) noexcept;

    /// Dotted decimal text, never null.
    const char* get_algorithm() const { return algorithm_.c_str(); }
    virtual void put_algorithm(const char* algorithm);

    /// Empty when absent.
    const CBlob& get_parameters() const { return parameters_; }
    void put_parameters(const CBlob& parameters);
    void put_parameters(CBlob&& parameters) noexcept;

    /// The DER of the identifier. Throws Asn1Error when the identifier is not dotted decimal text or the parameters of
    /// a known algorithm are not the DER of their type.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is not of the type.
    void decode(const CBlob& data);

    /// Equal identifier text and parameter bytes: absent parameters and a NULL differ.
    bool operator==(const CAlgorithmIdentifier& other) const;

private:
    CStringProxy algorithm_;
    CBlob parameters_;
};

/// An algorithm identifier that remembers the Crypto service's number of the algorithm (an ALG_ID) once it was
/// looked up. The number is reset when the identifier changes.
class TALLOW_EXPORT CAlgorithmIdentifierEx : public CAlgorithmIdentifier {
public:
    CAlgorithmIdentifierEx();
    explicit CAlgorithmIdentifierEx(const char* algorithm);
    explicit CAlgorithmIdentifierEx(const CAlgorithmIdentifier& other);
    CAlgorithmIdentifierEx(const CAlgorithmIdentifierEx& other) = default;
    CAlgorithmIdentifierEx(CAlgorithmIdentifierEx&& other) noexcept = default;
    CAlgorithmIdentifierEx& operator=(const CAlgorithmIdentifierEx& other) = default;
    CAlgorithmIdentifierEx& operator=(CAlgorithmIdentifierEx&& other) noexcept = default;
    ~CAlgorithmIdentifierEx() override;

    void assign(const CAlgorithmIdentifierEx& other);
    void swap(CAlgorithmIdentifierEx& other) noexcept;

    /// Does nothing when the text equals the present one; otherwise forgets the number too.
    void put_algorithm(const char* algorithm) override;

    /// 0 when not known.
    unsigned int get_algId() const { return algId_; }
    void put_algId(unsigned int algId) { algId_ = algId; }

private:
    unsigned int algId_ = 0;
};

}  // namespace Orvane::ASN1
