#include "asn1/text/time_text.h"

#include <array>
#include <cstring>

#include "asn1/codec/context_memory.h"
#include "asn1rt/time_scan.h"
#include "platform/support/support_service.h"

namespace Orvane::ASN1 {

namespace {

void check(int result) {
    if (result != 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
}

constexpr std::size_t kSizeDateAndHour = 10;
constexpr std::size_t kSizeWholeSeconds = 14;
constexpr int kFirstYear = 1601;  // where the count of CDateTime begins

// Six digits of the fraction, fewer ones filled up; 0 without a fraction.
unsigned int microsecondsOf(const char* text) {
    unsigned int value = 0;
    const char* digit = text[kSizeWholeSeconds] == 'Z' ? "" : text + kSizeWholeSeconds + 1;
    for (int i = 0; i < 6; ++i) {
        const bool isThere = *digit >= '0' && *digit <= '9';
        value = value * 10 + (isThere ? static_cast<unsigned int>(*digit - '0') : 0);
        digit += isThere ? 1 : 0;
    }
    return value;
}

// The number in `size` digits from `start` on, above all that a field may hold when one of them is no digit.
unsigned int fieldOf(std::span<const unsigned char> text, std::size_t start, std::size_t size) {
    constexpr unsigned int kNoNumber = 10000;
    unsigned int value = 0;
    for (const unsigned char character : text.subspan(start, size)) {
        if (character < '0' || character > '9') {
            return kNoNumber;
        }
        value = value * 10 + (character - '0');
    }
    return value;
}

// Days from 1601-01-01, a Monday at the start of 400 years, to a date that exists.
std::uint64_t daysSince1601(unsigned int year, unsigned int month, unsigned int day) {
    constexpr std::array<unsigned int, 12> kBefore = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const std::uint64_t years = year - kFirstYear;
    const bool isAfterLeapDay = month > 2 && isLeapYear(static_cast<int>(year));
    return years * 365 + years / 4 - years / 100 + years / 400 + kBefore[month - 1] + (isAfterLeapDay ? 1 : 0) + day -
           1;
}

}  // namespace

std::optional<CDateTime> plainUtcTime(std::span<const unsigned char> text) {
    constexpr std::uint64_t kTicksInSecond = 10'000'000;
    if (text.size() != kSizeWholeSeconds + 1 || text.back() != 'Z') {
        return std::nullopt;
    }
    const unsigned int year = fieldOf(text, 0, 4);
    const unsigned int month = fieldOf(text, 4, 2);
    const unsigned int day = fieldOf(text, 6, 2);
    const unsigned int hour = fieldOf(text, 8, 2);
    const unsigned int minute = fieldOf(text, 10, 2);
    const unsigned int second = fieldOf(text, 12, 2);
    if (year < kFirstYear || year > 9999 ||
        !isDate(static_cast<int>(year), static_cast<int>(month), static_cast<int>(day)) || hour > 23 || minute > 59 ||
        second > 59) {
        return std::nullopt;
    }
    const std::uint64_t seconds = ((daysSince1601(year, month, day) * 24 + hour) * 60 + minute) * 60 + second;
    return CDateTime::fromTicks(seconds * kTicksInSecond);
}

CDateTime decodedUtcTime(const char* text) {
    RtTime time;
    const std::size_t size = text != nullptr ? std::strlen(text) : 0;
    const std::size_t numDigits = text != nullptr ? std::strspn(text, "0123456789") : 0;
    // The scanner itself accepts blanks and signs before numbers, and fields of one digit with anything after it. A
    // block of the decoder is the contents and a NUL.
    if (numDigits < kSizeDateAndHour || numDigits % 2 != 0 || size + 1 != rtMemHeapBlockSize(text) ||
        !scanGeneralizedTime(text, TimeReader::kControl, time) || time.utcFlag == 0 || time.year < kFirstYear) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    const unsigned int microseconds = size > kSizeWholeSeconds ? microsecondsOf(text) : 0;
    const auto field = [](std::int16_t value) { return static_cast<unsigned int>(value); };
    return {field(time.year),   field(time.month),  field(time.day),     field(time.hour),
            field(time.minute), field(time.second), microseconds / 1000, microseconds % 1000};
}

const char* DateToASN1GeneralizedTime(ASN1CTXT* ctxt, const CDateTime& time, bool trim) {
    if (!trim) {
        return copyText(ctxt, time.getGeneralizedTime().c_str());
    }
    // Truncated, not rounded: responders and clients have seen this form, and a time rounded up would be in the future.
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
