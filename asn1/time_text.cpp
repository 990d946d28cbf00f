#include "asn1/time_text.h"

#include "asn1/context_memory.h"
#include "platform/support/support_service.h"

namespace Orvane::ASN1 {

namespace {

void check(int result) {
    if (result != 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
}

}  // namespace

const char* DateToASN1GeneralizedTime(ASN1CTXT* ctxt, const CDateTime& time, bool trim) {
    if (!trim) {
        return copyText(ctxt, time.getGeneralizedTime().c_str());
    }
    // Cut and not rounded: responders and clients have seen this form, and a time rounded up would lie in the future.
    const _SYSTEMTIME fields = time.getSystemTime();
    const CDateTime wholeSeconds(fields.wYear, fields.wMonth, fields.wDay, fields.wHour, fields.wMinute, fields.wSecond,
                                 0, 0);
    return copyText(ctxt, wholeSeconds.getGeneralizedTime().c_str());
}

std::string GetASN1CTimeString(const CDateTime& time, ASN1CTime& target) {
    const _SYSTEMTIME fields = time.getSystemTime();
    check(target.setUTC(true));
    check(target.setYear(fields.wYear));
    check(target.setMonth(fields.wMonth));
    check(target.setDay(fields.wDay));
    check(target.setHour(fields.wHour));
    check(target.setMinute(fields.wMinute));
    check(target.setSecond(fields.wSecond));
    const int length = target.getTimeStringLen();
    if (length <= 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    if (target.getTimeString(text.data(), static_cast<std::uint32_t>(text.size())) == nullptr) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
}

}  // namespace Orvane::ASN1
