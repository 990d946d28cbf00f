#include "asn1/attributes/signing_certificate.h"

#include "asn1/attributes/signing_certificate_traits.h"

namespace Orvane::ASN1 {

namespace {

constexpr const char* kSigningCertificateOid = "1.2.840.113549.1.9.16.2.12";
constexpr const char* kSigningCertificateV2Oid = "1.2.840.113549.1.9.16.2.47";
constexpr const char* kOtherSigningCertificateOid = "1.2.840.113549.1.9.16.2.19";

template <class CertIDList>
struct TraitsOf;
template <>
struct TraitsOf<CESSCertIDList> : ASN1T_SigningCertificate_traits {};
template <>
struct TraitsOf<CESSCertIDv2List> : ASN1T_SigningCertificateV2_traits {};
template <>
struct TraitsOf<COtherCertIDList> : ASN1T_OtherSigningCertificate_traits {};

}  // namespace

template <class CertIDList>
CSigningCertificateAttr<CertIDList>::CSigningCertificateAttr(const char* oid)
    : CAttrValue(oid), impl_(std::make_unique<SigningCertificateImpl<CertIDList>>()) {}

template <class CertIDList>
CSigningCertificateAttr<CertIDList>::CSigningCertificateAttr(const char* oid, const CBlob& value)
    : CAttrValue(oid, value), impl_(std::make_unique<SigningCertificateImpl<CertIDList>>()) {
    decode();
}

template <class CertIDList>
CSigningCertificateAttr<CertIDList>::CSigningCertificateAttr(const char* oid, const CertIDList& certs)
    : CSigningCertificateAttr(oid) {
    put_certs(certs);
}

template <class CertIDList>
CSigningCertificateAttr<CertIDList>::CSigningCertificateAttr(const CSigningCertificateAttr& other) = default;

template <class CertIDList>
CSigningCertificateAttr<CertIDList>& CSigningCertificateAttr<CertIDList>::operator=(
    const CSigningCertificateAttr& other) = default;

template <class CertIDList>
CSigningCertificateAttr<CertIDList>::~CSigningCertificateAttr() = default;

template <class CertIDList>
const CertIDList& CSigningCertificateAttr<CertIDList>::get_certs() const {
    return impl_->certs;
}

template <class CertIDList>
void CSigningCertificateAttr<CertIDList>::put_certs(const CertIDList& certs) {
    impl_->certs = certs;
    encode();
}

template <class CertIDList>
const CPolicyInformationList* CSigningCertificateAttr<CertIDList>::get_policies() const {
    return impl_->policies.get();
}

template <class CertIDList>
void CSigningCertificateAttr<CertIDList>::storePolicies(const CPolicyInformationList* policies) {
    copy_to_auto_ptr(impl_->policies, policies);
}

template <class CertIDList>
void CSigningCertificateAttr<CertIDList>::encode() {
    value() = asn1Encode<TraitsOf<CertIDList>>(*impl_);
}

template <class CertIDList>
void CSigningCertificateAttr<CertIDList>::decode() {
    asn1Decode<TraitsOf<CertIDList>>(get_value(), *impl_);
}

template class CSigningCertificateAttr<CESSCertIDList>;
template class CSigningCertificateAttr<CESSCertIDv2List>;
template class CSigningCertificateAttr<COtherCertIDList>;

CAttrSigningCertificate::CAttrSigningCertificate() : CSigningCertificateAttr(kSigningCertificateOid) {}

CAttrSigningCertificate::CAttrSigningCertificate(const CBlob& value)
    : CSigningCertificateAttr(kSigningCertificateOid, value) {}

CAttrSigningCertificate::CAttrSigningCertificate(const CESSCertIDList& certs)
    : CSigningCertificateAttr(kSigningCertificateOid, certs) {}

void CAttrSigningCertificate::put_policies(const CPolicyInformationList* policies) {
    storePolicies(policies);
}

CAttrSigningCertificateV2::CAttrSigningCertificateV2() : CSigningCertificateAttr(kSigningCertificateV2Oid) {}

CAttrSigningCertificateV2::CAttrSigningCertificateV2(const CBlob& value)
    : CSigningCertificateAttr(kSigningCertificateV2Oid, value) {}

CAttrSigningCertificateV2::CAttrSigningCertificateV2(const CESSCertIDv2List& certs)
    : CSigningCertificateAttr(kSigningCertificateV2Oid, certs) {}

void CAttrSigningCertificateV2::put_policies(const CPolicyInformationList* policies) {
    storePolicies(policies);
}

CAttrOtherSigningCertificate::CAttrOtherSigningCertificate() : CSigningCertificateAttr(kOtherSigningCertificateOid) {}

CAttrOtherSigningCertificate::CAttrOtherSigningCertificate(const CBlob& value)
    : CSigningCertificateAttr(kOtherSigningCertificateOid, value) {}

CAttrOtherSigningCertificate::CAttrOtherSigningCertificate(const COtherCertIDList& certs)
    : CSigningCertificateAttr(kOtherSigningCertificateOid, certs) {}

void CAttrOtherSigningCertificate::put_policies(const CPolicyInformationList* policies) {
    storePolicies(policies);
    encode();
}

}  // namespace Orvane::ASN1
