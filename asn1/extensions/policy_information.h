// Certificate policies by their identifiers (RFC 5280, section 4.2.1.4):
//
//   PolicyInformation ::= SEQUENCE { policyIdentifier CertPolicyId, policyQualifiers ... OPTIONAL }
#pragma once

#include <list>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

/// One policy. Qualifiers have no place here: they are passed over when a policy is decoded, and so are gone when it
/// is encoded again.
class TALLOW_EXPORT CPolicyInformation {
public:
    /// Empty identifier, which cannot be encoded.
    CPolicyInformation();
    explicit CPolicyInformation(const char* policyIdentifier);

    /// Dotted decimal text, never null. Valid until the object is changed or destroyed.
    const char* get_policyIdentifier() const { return policyIdentifier_.c_str(); }
    void put_policyIdentifier(const char* policyIdentifier);

    /// The DER of the policy. Throws InvalidArgument when the identifier is not dotted decimal text.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error, with the object unchanged, when `data` is not of the type.
    void decode(const CBlob& data);

private:
    CStringProxy policyIdentifier_;
};

/// Policies in wire order.
class TALLOW_EXPORT CPolicyInformationList : public std::list<CPolicyInformation> {
public:
    using std::list<CPolicyInformation>::list;
};

}  // namespace Orvane::ASN1
