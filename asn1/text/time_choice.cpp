#include "asn1/text/time_choice.h"

#include <string>

#include "asn1/text/time_choice_traits.h"
#include "asn1/text/time_text.h"
#include "asn1rt/time_control.h"

namespace Orvane::ASN1 {

namespace {

constexpr unsigned int kLastYearOfUtcTime = 2049;

// Writes the time under a fresh object of the type, in Zulu form.
template <class TimeControl>
const char* timeText(ASN1CTXT* ctxt, const CDateTime& time) {
    const char* text = nullptr;
    TimeControl target(text, 0, true);
    return copyText(ctxt, GetASN1CTimeString(time, target).c_str());
}

// A field of a text that could not be read is negative.
unsigned int checked(int field) {
    if (field < 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    return static_cast<unsigned int>(field);
}

template <class TimeControl>
CDateTime readTime(const char* text) {
    const TimeControl source(text, 0, false);
    return CDateTime(checked(source.getYear()), checked(source.getMonth()), checked(source.getDay()),
                     checked(source.getHour()), checked(source.getMinute()), checked(source.getSecond()), 0, 0);
}

}  // namespace

const ChoiceValueTraits* CTimeChoiceImpl::findTraits(unsigned int type) const {
    switch (type) {
        case kUtcTime:
            return &ChoiceValueTraitsT<CDateTime, kUtcTime>::instance;
        case kGeneralTime:
            return &ChoiceValueTraitsT<CDateTime, kGeneralTime>::instance;
        default:
            return &NoChoiceValue::instance;
    }
}

CTimeChoice::CTimeChoice() : CTimeChoice(CDateTime(0, 0)) {}

CTimeChoice::CTimeChoice(const CDateTime& time) {
    put_time(time);
}

CTimeChoice::CTimeChoice(const CTimeChoice& other) {
    copyHolder(impl_, other.impl_);
}

CTimeChoice::CTimeChoice(CTimeChoice&& other) noexcept = default;

CTimeChoice& CTimeChoice::operator=(const CTimeChoice& other) {
    copyHolder(impl_, other.impl_);
    return *this;
}

CTimeChoice& CTimeChoice::operator=(CTimeChoice&& other) noexcept = default;

CTimeChoice::~CTimeChoice() = default;

void CTimeChoice::clear() {
    impl_.reset();
}

unsigned int CTimeChoice::get_type() const {
    return heldType(impl_);
}

const CDateTime* CTimeChoice::get_time() const {
    return heldValue<CDateTime>(impl_, get_type());
}

void CTimeChoice::put_time(const CDateTime& time) {
    putValue(impl_, time.year() > kLastYearOfUtcTime ? kGeneralTime : kUtcTime, &time);
}

CBlob CTimeChoice::encode() const {
    return asn1Encode<ASN1T_Time_traits>(*this);
}

void CTimeChoice::decode(const CBlob& data) {
    asn1Decode<ASN1T_Time_traits>(data, *this);
}

void ASN1T_Time_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CTimeChoice& value) {
    switch (value.get_type()) {
        case kUtcTime:
            record.u.utcTime = timeText<ASN1CUTCTime>(ctxt, *value.get_time());
            record.t = kUtcTime;
            break;
        case kGeneralTime:
            record.u.generalTime = timeText<ASN1CGeneralizedTime>(ctxt, *value.get_time());
            record.t = kGeneralTime;
            break;
        default:
            break;  // the record stays unset, and the encoder rejects it
    }
}

void ASN1T_Time_traits::get(const ASN1_T& record, CTimeChoice& value) {
    switch (record.t) {
        case kUtcTime:
            value.put_time(readTime<ASN1CUTCTime>(record.u.utcTime));
            break;
        case kGeneralTime:
            value.put_time(readTime<ASN1CGeneralizedTime>(record.u.generalTime));
            break;
        default:
            ATL::AtlThrowImpl(status::kAsn1Error);
    }
}

}  // namespace Orvane::ASN1
