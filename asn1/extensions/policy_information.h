// Certificate policies by their identifiers (RFC 5280, section 4.2.1.4), as in the attributes that name a signing
// certificate.
//
//   CPolicyInformationList policies;
//   policies.emplace_back("1.3.6.1.4.1.99999.1.2");
//   attribute.put_policies(&policies);
#pragma once

#include <list>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// One policy:
///
///   PolicyInformation ::= SEQUENCE {
///       policyIdentifier CertPolicyId,
///       policyQualifiers SEQUENCE SIZE (1..MAX) OF PolicyQualifierInfo OPTIONAL }
///
///   CertPolicyId ::= OBJECT IDENTIFIER
///
/// Qualifiers are not kept: they are skipped when a policy is decoded, and are gone when it is encoded again. Copies
/// are deep.
class TALLOW_EXPORT CPolicyInformation {
public:
    /// Empty identifier, which cannot be encoded.
    CPolicyInformation();
    /// Copies dotted decimal text; null counts as empty. encode() checks it.
    explicit CPolicyInformation(const char* policyIdentifier);

    /// Dotted decimal text, never null; 2.5.29.32.0 is anyPolicy. Valid until the object is changed or destroyed. The
    /// setter copies; null counts as empty.
    const char* get_policyIdentifier() const { return policyIdentifier_.c_str(); }
    void put_policyIdentifier(const char* policyIdentifier);

    /// The DER of the policy. Throws:
    /// - kInvalidArgument: the identifier is not dotted decimal text.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the policy are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

private:
    CStringProxy policyIdentifier_;
};

/// Policies in wire order. The list has no encoding of its own: it is a member of the attributes in
/// asn1/attributes/signing_certificate.h.
class TALLOW_EXPORT CPolicyInformationList : public std::list<CPolicyInformation> {
public:
    using std::list<CPolicyInformation>::list;
};

}  // namespace Orvane::ASN1
