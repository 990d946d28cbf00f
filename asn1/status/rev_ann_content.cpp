#include "asn1/status/rev_ann_content.h"

#include "asn1/extensions/extensions_traits.h"
#include "asn1/status/cert_id_traits.h"
#include "asn1/status/rev_ann_content_traits.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

struct CRevAnnContentImpl {
    PKIStatusEnum status = kStatusAccepted;
    CCertId certId;
    CDateTime willBeRevokedAt = CDateTime(0, 0);
    CDateTime badSinceDate = CDateTime(0, 0);
    copied_ptr<CExtensions> crlDetails;  // null when absent
};

CRevAnnContent::CRevAnnContent() : impl_(std::make_unique<CRevAnnContentImpl>()) {}

CRevAnnContent::CRevAnnContent(const PKIStatusEnum& status, const CCertId& certId, const CDateTime& willBeRevokedAt,
                               const CDateTime& badSinceDate)
    : CRevAnnContent() {
    put_status(status);
    put_certId(certId);
    put_willBeRevokedAt(willBeRevokedAt);
    put_badSinceDate(badSinceDate);
}

CRevAnnContent::CRevAnnContent(const CRevAnnContent& other) = default;

CRevAnnContent& CRevAnnContent::operator=(const CRevAnnContent& other) = default;

CRevAnnContent& CRevAnnContent::operator=(CRevAnnContent&& other) noexcept {
    impl_.swap(other.impl_);
    return *this;
}

CRevAnnContent::~CRevAnnContent() = default;

PKIStatusEnum CRevAnnContent::get_status() const {
    return impl_->status;
}

void CRevAnnContent::put_status(const PKIStatusEnum& status) {
    impl_->status = status;
}

const CCertId& CRevAnnContent::get_certId() const {
    return impl_->certId;
}

void CRevAnnContent::put_certId(const CCertId& certId) {
    impl_->certId = certId;
}

const CDateTime& CRevAnnContent::get_willBeRevokedAt() const {
    return impl_->willBeRevokedAt;
}

void CRevAnnContent::put_willBeRevokedAt(const CDateTime& willBeRevokedAt) {
    impl_->willBeRevokedAt = willBeRevokedAt;
}

const CDateTime& CRevAnnContent::get_badSinceDate() const {
    return impl_->badSinceDate;
}

void CRevAnnContent::put_badSinceDate(const CDateTime& badSinceDate) {
    impl_->badSinceDate = badSinceDate;
}

const CExtensions* CRevAnnContent::get_crlDetails() const {
    return impl_->crlDetails.get();
}

void CRevAnnContent::put_crlDetails(const CExtensions* crlDetails) {
    copy_to_auto_ptr(impl_->crlDetails, crlDetails);
}

CBlob CRevAnnContent::encode() const {
    return asn1Encode<ASN1T_RevAnnContent_traits>(*this);
}

void CRevAnnContent::decode(const CBlob& data) {
    asn1Decode<ASN1T_RevAnnContent_traits>(data, *this);
}

void ASN1T_RevAnnContent_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CRevAnnContent& value) {
    record.status = value.get_status();
    ASN1T_CertId_traits::set(ctxt, record.certId, value.get_certId());
    ASN1GeneralizedTime_traits::set(ctxt, record.willBeRevokedAt, value.get_willBeRevokedAt());
    ASN1GeneralizedTime_traits::set(ctxt, record.badSinceDate, value.get_badSinceDate());
    record.m.crlDetailsPresent =
        setIf<ASN1T_Extensions_traits>(ctxt, record.crlDetails, unlessEmpty(value.get_crlDetails()));
}

void ASN1T_RevAnnContent_traits::get(const ASN1_T& record, CRevAnnContent& value) {
    const CDateTime none(0, 0);
    value.put_status(static_cast<PKIStatusEnum>(record.status));
    value.put_certId(valueOf<ASN1T_CertId_traits, CCertId>(record.certId));
    value.put_willBeRevokedAt(valueOf<ASN1GeneralizedTime_traits>(record.willBeRevokedAt, none));
    value.put_badSinceDate(valueOf<ASN1GeneralizedTime_traits>(record.badSinceDate, none));
    value.put_crlDetails(
        valueIf<ASN1T_Extensions_traits, CExtensions>(record.m.crlDetailsPresent, record.crlDetails).get());
}

}  // namespace Orvane::ASN1
