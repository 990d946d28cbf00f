#include "asn1/extensions/distribution_point.h"

#include <algorithm>

#include "asn1/extensions/distribution_point_impl.h"
#include "asn1/extensions/distribution_point_traits.h"
#include "asn1/names/general_name_traits.h"

namespace Orvane::ASN1 {

namespace {

// The bits that are written: the nine reasons and room for future ones.
constexpr unsigned int kReasonBits = 16;
constexpr unsigned int kReasonOctets = kReasonBits / 8;

}  // namespace

CDistributionPointName::CDistributionPointName() = default;

CDistributionPointName::CDistributionPointName(const CGeneralNames& fullName) {
    put_fullName(fullName);
}

CDistributionPointName::CDistributionPointName(const CDistributionPointName& other) {
    copyHolder(impl_, other.impl_);
}

CDistributionPointName::CDistributionPointName(CDistributionPointName&& other) noexcept = default;

CDistributionPointName& CDistributionPointName::operator=(const CDistributionPointName& other) {
    copyHolder(impl_, other.impl_);
    return *this;
}

CDistributionPointName& CDistributionPointName::operator=(CDistributionPointName&& other) noexcept = default;

CDistributionPointName::~CDistributionPointName() = default;

void CDistributionPointName::clear() {
    impl_.reset();
}

unsigned int CDistributionPointName::get_type() const {
    return heldType(impl_);
}

const CGeneralNames* CDistributionPointName::get_fullName() const {
    return heldValue<CGeneralNames>(impl_, kFullName);
}

void CDistributionPointName::put_fullName(const CGeneralNames& fullName) {
    putValue(impl_, kFullName, &fullName);
}

CBlob CDistributionPointName::encode() const {
    return asn1Encode<ASN1T_DistributionPointName_traits>(*this);
}

void CDistributionPointName::decode(const CBlob& data) {
    asn1Decode<ASN1T_DistributionPointName_traits>(data, *this);
}

bool CDistributionPointName::operator==(const CDistributionPointName& other) const {
    return get_type() == other.get_type() && equalOrBothAbsent(get_fullName(), other.get_fullName());
}

CDistributionPoint::CDistributionPoint() = default;

CDistributionPoint::CDistributionPoint(const CDistributionPoint& other) {
    copy_to_auto_ptr(impl_, other.impl_.get());
}

CDistributionPoint::CDistributionPoint(CDistributionPoint&& other) noexcept = default;

CDistributionPoint& CDistributionPoint::operator=(const CDistributionPoint& other) {
    copy_to_auto_ptr(impl_, other.impl_.get());
    return *this;
}

CDistributionPoint& CDistributionPoint::operator=(CDistributionPoint&& other) noexcept = default;

CDistributionPoint::~CDistributionPoint() = default;

void CDistributionPoint::clear() {
    impl_.reset();
}

CDistributionPointImpl& CDistributionPoint::impl() {
    if (!impl_) {
        impl_ = std::make_unique<CDistributionPointImpl>();
    }
    return *impl_;
}

const CDistributionPointName* CDistributionPoint::get_distributionPoint() const {
    return impl_ ? impl_->distributionPoint.get() : nullptr;
}

const CReasonFlags* CDistributionPoint::get_reasons() const {
    return impl_ ? impl_->reasons.get() : nullptr;
}

const CGeneralNames* CDistributionPoint::get_cRLIssuer() const {
    return impl_ ? impl_->cRLIssuer.get() : nullptr;
}

void CDistributionPoint::put_distributionPoint(const CDistributionPointName* distributionPoint) {
    copy_to_auto_ptr(impl().distributionPoint, distributionPoint);
}

void CDistributionPoint::put_reasons(const CReasonFlags* reasons) {
    copy_to_auto_ptr(impl().reasons, reasons);
}

void CDistributionPoint::put_cRLIssuer(const CGeneralNames* cRLIssuer) {
    copy_to_auto_ptr(impl().cRLIssuer, cRLIssuer);
}

CBlob CDistributionPoint::encode() const {
    return asn1Encode<ASN1T_DistributionPoint_traits>(*this);
}

void CDistributionPoint::decode(const CBlob& data) {
    asn1Decode<ASN1T_DistributionPoint_traits>(data, *this);
}

bool CDistributionPoint::operator==(const CDistributionPoint& other) const {
    return equalOrBothAbsent(get_cRLIssuer(), other.get_cRLIssuer()) &&
           equalOrBothAbsent(get_distributionPoint(), other.get_distributionPoint()) &&
           equalOrBothAbsent(get_reasons(), other.get_reasons());
}

CBlob CCRLDistPointsSyntax::encode() const {
    return asn1Encode<ASN1T_CRLDistPointsSyntax_traits>(*this);
}

void CCRLDistPointsSyntax::decode(const CBlob& data) {
    asn1Decode<ASN1T_CRLDistPointsSyntax_traits>(data, *this);
}

void ASN1T_ReasonFlags_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CReasonFlags& value) {
    // The first bit of the string is the most significant of its first octet. Named bits end at the last one that is
    // set (X.690, clause 11.2.2).
    unsigned char octets[kReasonOctets] = {};
    record.numbits = 0;
    for (unsigned int bit = 0; bit < kReasonBits; ++bit) {
        if (value.get_bit(bit)) {
            octets[bit / 8] |= static_cast<unsigned char>(0x80U >> bit % 8);
            record.numbits = bit + 1;
        }
    }
    record.data = copyBytes(ctxt, octets, sizeof(octets));
}

void ASN1T_ReasonFlags_traits::get(const ASN1_T& record, CReasonFlags& value) {
    value.put_value(0);
    // Further bits have no place in the value and no meaning in the standard.
    const unsigned int count = std::min<std::uint32_t>(record.numbits, 32);
    for (unsigned int bit = 0; bit < count; ++bit) {
        value.put_bit(bit, (record.data[bit / 8] & 0x80U >> bit % 8) != 0);
    }
}

void ASN1T_DistributionPointName_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPointName& value) {
    // Any other type leaves the choice unset, and the encoder rejects it.
    if (const CGeneralNames* fullName = value.get_fullName()) {
        record.t = kFullName;
        record.u.fullName = allocateRecord<asn1data::ASN1T_GeneralNames>(ctxt);
        ASN1T_GeneralNames_traits::set(ctxt, *record.u.fullName, *fullName);
    }
}

void ASN1T_DistributionPointName_traits::get(const ASN1_T& record, CDistributionPointName& value) {
    value.clear();
    if (record.t == kFullName) {
        value.put_fullName(valueOf<ASN1T_GeneralNames_traits, CGeneralNames>(*record.u.fullName));
    }
}

void ASN1T_DistributionPoint_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPoint& value) {
    record.m.distributionPointPresent =
        setIf<ASN1T_DistributionPointName_traits>(ctxt, record.distributionPoint, value.get_distributionPoint());
    record.m.reasonsPresent = setIf<ASN1T_ReasonFlags_traits>(ctxt, record.reasons, value.get_reasons());
    record.m.cRLIssuerPresent =
        setIf<ASN1T_GeneralNames_traits>(ctxt, record.cRLIssuer, unlessEmpty(value.get_cRLIssuer()));
}

void ASN1T_DistributionPoint_traits::get(const ASN1_T& record, CDistributionPoint& value) {
    value.put_distributionPoint(valueIf<ASN1T_DistributionPointName_traits, CDistributionPointName>(
                                    record.m.distributionPointPresent, record.distributionPoint)
                                    .get());
    value.put_reasons(
        valueIf<ASN1T_ReasonFlags_traits>(record.m.reasonsPresent, record.reasons, CReasonFlags(0)).get());
    value.put_cRLIssuer(
        valueIf<ASN1T_GeneralNames_traits, CGeneralNames>(record.m.cRLIssuerPresent, record.cRLIssuer).get());
}

}  // namespace Orvane::ASN1
