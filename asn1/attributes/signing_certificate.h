// The attributes that bind a signature to the signer's certificate (RFC 5035, sections 3 and 4, RFC 5126, section
// 5.7.3.3), so that the certificate cannot be exchanged for another one with the same key.
//
//   CAttrSigningCertificateV2 attribute;
//   attribute.put_policies(&policies);               // optional; before put_certs
//   attribute.put_certs(certs);                      // encodes both
//   attributes.emplace_back(attribute.get_oid()).add(attribute);
//
// The value of the attribute is the encoding of the decoded member. X() sets the identifier and leaves both empty.
// X(certs) sets the member and encodes it. X(CBlob) takes the DER of the attribute's value and decodes it, and throws
// what decode() throws.
//
// A verifier takes the certificate that verified the signature, hashes it, and compares with the first identifier; it
// rejects the signature when they differ or the attribute is not signed.
#pragma once

#include "asn1/attributes/ess_cert_id.h"
#include "asn1/attributes/other_cert_id.h"
#include "asn1/codec/owned_ptr.h"
#include "asn1/extensions/policy_information.h"
#include "asn1/names/attr_value.h"
#include "export.h"

namespace Orvane::ASN1 {

template <class CertIDList>
struct SigningCertificateImpl;

/// What the three attributes have in common:
///
///   SigningCertificate ::= SEQUENCE {
///       certs    SEQUENCE OF ESSCertID,              -- or ESSCertIDv2, OtherCertID
///       policies SEQUENCE OF PolicyInformation OPTIONAL }
///
/// Copies are deep.
template <class CertIDList>
class TALLOW_EXPORT CSigningCertificateAttr : public CAttrValue {
public:
    /// The identifiers in wire order, the signer's certificate first; empty until set. Valid until the object changes.
    const CertIDList& get_certs() const;
    /// Sets the identifiers and encodes. When that throws, the identifiers are set and the value is as it was.
    void put_certs(const CertIDList& certs);

    /// The policies under which the signature was made. Null when absent; owned by the object and valid until it is
    /// changed or destroyed. Each class has its own put_policies.
    const CPolicyInformationList* get_policies() const;

    /// Makes the value the encoding of the member. An empty list of policies is omitted like an absent one; an empty
    /// list of identifiers is written as an empty SEQUENCE. Throws, with the value as it was:
    /// - kAsn1Error, kInvalidArgument: an identifier or a policy cannot be encoded.
    /// - kAsn1Memory: memory is exhausted.
    void encode();

    /// Reads the member from the value; call it after changing value(). Throws, with the member unchanged:
    /// - kAsn1Error: the value is empty or not of the type.
    /// - kInvalidArgument: it contains a general name of a kind without support.
    /// - kAsn1Memory: memory is exhausted, or its limit for a value of this size is reached.
    void decode();

protected:
    /// For the three classes below, which fix the identifier. The second decodes, the third encodes.
    explicit CSigningCertificateAttr(const char* oid);
    CSigningCertificateAttr(const char* oid, const CBlob& value);
    CSigningCertificateAttr(const char* oid, const CertIDList& certs);
    CSigningCertificateAttr(const CSigningCertificateAttr& other);
    CSigningCertificateAttr& operator=(const CSigningCertificateAttr& other);
    ~CSigningCertificateAttr();

    /// Copies the list, null removes; the value stays.
    void storePolicies(const CPolicyInformationList* policies);

private:
    copied_ptr<SigningCertificateImpl<CertIDList>> impl_;
};

extern template class CSigningCertificateAttr<CESSCertIDList>;
extern template class CSigningCertificateAttr<CESSCertIDv2List>;
extern template class CSigningCertificateAttr<COtherCertIDList>;

/// signingCertificate, 1.2.840.113549.1.9.16.2.12: certificates by SHA-1 (RFC 2634, section 5.4). For old verifiers.
class TALLOW_EXPORT CAttrSigningCertificate : public CSigningCertificateAttr<CESSCertIDList> {
public:
    CAttrSigningCertificate();
    explicit CAttrSigningCertificate(const CBlob& value);
    explicit CAttrSigningCertificate(const CESSCertIDList& certs);

    /// Copies the list, null removes. The value stays as it is until encode() or put_certs: set policies first and
    /// certs last to encode once; after setting policies last, call encode().
    void put_policies(const CPolicyInformationList* policies);
};

/// signingCertificateV2, 1.2.840.113549.1.9.16.2.47: certificates by any hash (RFC 5035, section 3). The form to write.
class TALLOW_EXPORT CAttrSigningCertificateV2 : public CSigningCertificateAttr<CESSCertIDv2List> {
public:
    CAttrSigningCertificateV2();
    explicit CAttrSigningCertificateV2(const CBlob& value);
    explicit CAttrSigningCertificateV2(const CESSCertIDv2List& certs);

    /// As for CAttrSigningCertificate: the value stays as it is until encode() or put_certs.
    void put_policies(const CPolicyInformationList* policies);
};

/// otherSigningCertificate, 1.2.840.113549.1.9.16.2.19: certificates by a hash of either form.
class TALLOW_EXPORT CAttrOtherSigningCertificate : public CSigningCertificateAttr<COtherCertIDList> {
public:
    CAttrOtherSigningCertificate();
    explicit CAttrOtherSigningCertificate(const CBlob& value);
    explicit CAttrOtherSigningCertificate(const COtherCertIDList& certs);

    /// Copies the list, null removes, and encodes at once, unlike the other two. When that throws, the list is set and
    /// the value is as it was.
    void put_policies(const CPolicyInformationList* policies);
};

}  // namespace Orvane::ASN1
