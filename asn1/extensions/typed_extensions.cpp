#include "asn1/extensions/typed_extensions.h"

#include "asn1/codec/owned_ptr.h"
#include "asn1/extensions/typed_extensions_traits.h"
#include "asn1/names/general_name_traits.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

namespace {

constexpr const char* kReasonCodeOid = "2.5.29.21";
constexpr const char* kHoldInstructionCodeOid = "2.5.29.23";
constexpr const char* kInvalidityDateOid = "2.5.29.24";
constexpr const char* kCertificateIssuerOid = "2.5.29.29";
constexpr const char* kPrivateKeyUsagePeriodOid = "2.5.29.16";

}  // namespace

CExtCRLReason::CExtCRLReason() : CExtValue(kReasonCodeOid) {}

CExtCRLReason::CExtCRLReason(CrlReason reason) : CExtValue(kReasonCodeOid), reason_(reason) {
    encode();
}

CExtCRLReason::CExtCRLReason(const CBlob& value) : CExtValue(kReasonCodeOid, value) {
    decode();
}

void CExtCRLReason::put_reason(CrlReason reason) {
    reason_ = reason;
    encode();
}

void CExtCRLReason::encode() {
    value() = asn1Encode<ASN1T_CRLReason_traits>(reason_);
}

void CExtCRLReason::decode() {
    asn1Decode<ASN1T_CRLReason_traits>(get_value(), reason_);
}

CExtHoldInstructionCode::CExtHoldInstructionCode() : CExtValue(kHoldInstructionCodeOid), code_(nullptr) {}

CExtHoldInstructionCode::CExtHoldInstructionCode(const char* code) : CExtValue(kHoldInstructionCodeOid), code_(code) {
    encode();
}

CExtHoldInstructionCode::CExtHoldInstructionCode(const CBlob& value)
    : CExtValue(kHoldInstructionCodeOid, value), code_(nullptr) {
    decode();
}

void CExtHoldInstructionCode::put_code(const char* code) {
    code_ = CStringProxy(code);
    encode();
}

void CExtHoldInstructionCode::encode() {
    value() = asn1Encode<ASN1TObjId_traits>(code_.c_str());
}

void CExtHoldInstructionCode::decode() {
    asn1Decode<ASN1TObjId_traits>(get_value(), code_);
}

CExtInvalidityDate::CExtInvalidityDate() : CExtValue(kInvalidityDateOid), invalidityDate_(0, 0) {}

CExtInvalidityDate::CExtInvalidityDate(const CDateTime& invalidityDate)
    : CExtValue(kInvalidityDateOid), invalidityDate_(invalidityDate) {
    encode();
}

CExtInvalidityDate::CExtInvalidityDate(const CBlob& value)
    : CExtValue(kInvalidityDateOid, value), invalidityDate_(0, 0) {
    decode();
}

void CExtInvalidityDate::put_invalidityDate(const CDateTime& invalidityDate) {
    invalidityDate_ = invalidityDate;
    encode();
}

void CExtInvalidityDate::encode() {
    value() = asn1Encode<ASN1GeneralizedTime_traits>(invalidityDate_);
}

void CExtInvalidityDate::decode() {
    asn1Decode<ASN1GeneralizedTime_traits>(get_value(), invalidityDate_);
}

CExtCertificateIssuer::CExtCertificateIssuer() : CExtValue(kCertificateIssuerOid) {}

CExtCertificateIssuer::CExtCertificateIssuer(const CGeneralNames& issuer)
    : CExtValue(kCertificateIssuerOid), issuer_(issuer) {
    encode();
}

CExtCertificateIssuer::CExtCertificateIssuer(const CBlob& value) : CExtValue(kCertificateIssuerOid, value) {
    decode();
}

void CExtCertificateIssuer::put_issuer(const CGeneralNames& issuer) {
    issuer_ = issuer;
    encode();
}

void CExtCertificateIssuer::encode() {
    value() = issuer_.encode();
}

void CExtCertificateIssuer::decode() {
    issuer_.decode(get_value());
}

CExtPrivateKeyUsagePeriod::CExtPrivateKeyUsagePeriod(const CDateTime* notBefore, const CDateTime* notAfter)
    : CExtValue(kPrivateKeyUsagePeriodOid) {
    copy_to_auto_ptr(notBefore_, notBefore);
    copy_to_auto_ptr(notAfter_, notAfter);
    encode();
}

CExtPrivateKeyUsagePeriod::CExtPrivateKeyUsagePeriod(const CBlob& value) : CExtValue(kPrivateKeyUsagePeriodOid, value) {
    decode();
}

void CExtPrivateKeyUsagePeriod::put_notBefore(const CDateTime* notBefore) {
    copy_to_auto_ptr(notBefore_, notBefore);
    encode();
}

void CExtPrivateKeyUsagePeriod::put_notAfter(const CDateTime* notAfter) {
    copy_to_auto_ptr(notAfter_, notAfter);
    encode();
}

void CExtPrivateKeyUsagePeriod::encode() {
    value() = asn1Encode<ASN1T_PrivateKeyUsagePeriod_traits>(*this);
}

void CExtPrivateKeyUsagePeriod::decode() {
    asn1Decode<ASN1T_PrivateKeyUsagePeriod_traits>(get_value(), *this);
}

void ASN1T_PrivateKeyUsagePeriod_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CExtPrivateKeyUsagePeriod& value) {
    record.m.notBeforePresent = setIf<ASN1GeneralizedTime_traits>(ctxt, record.notBefore, value.get_notBefore());
    record.m.notAfterPresent = setIf<ASN1GeneralizedTime_traits>(ctxt, record.notAfter, value.get_notAfter());
}

void ASN1T_PrivateKeyUsagePeriod_traits::get(const ASN1_T& record, CExtPrivateKeyUsagePeriod& value) {
    const CDateTime none(0, 0);
    value.put_notBefore(valueIf<ASN1GeneralizedTime_traits>(record.m.notBeforePresent, record.notBefore, none).get());
    value.put_notAfter(valueIf<ASN1GeneralizedTime_traits>(record.m.notAfterPresent, record.notAfter, none).get());
}

}  // namespace Orvane::ASN1
