#include "foundation/date_time_span.h"

#include <array>
#include <cstdio>
#include <string>
#include <utility>

#include "foundation/generalized_time.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/support/support_service.h"

namespace Orvane {
namespace {

constexpr std::uint64_t kSecond = 10'000'000;

}  // namespace

// Constant-initialised, so that they are set before any code of the library runs.
constinit const CDateTimeSpan CDateTimeSpan::oneYear = fromTicks(365 * 86400 * kSecond);
constinit const CDateTimeSpan CDateTimeSpan::oneMonth = fromTicks(30 * 86400 * kSecond);
constinit const CDateTimeSpan CDateTimeSpan::oneDay = fromTicks(86400 * kSecond);
constinit const CDateTimeSpan CDateTimeSpan::oneHour = fromTicks(3600 * kSecond);
constinit const CDateTimeSpan CDateTimeSpan::oneMinute = fromTicks(60 * kSecond);
constinit const CDateTimeSpan CDateTimeSpan::oneSecond = fromTicks(kSecond);
constinit const CDateTimeSpan CDateTimeSpan::oneMillisecond = fromTicks(kSecond / 1000);

CDateTimeSpan::CDateTimeSpan(unsigned int seconds, unsigned int microseconds) noexcept
    : CDateTimeSpan(fromTicks(seconds * kSecond + microseconds * 10U)) {}

CDateTimeSpan::CDateTimeSpan(const char* text) {
    const GeneralizedTimeFields read = readGeneralizedTime(text);
    const std::uint64_t days = std::uint64_t{read.year} * 365 + read.month * 30U + read.day;
    const std::uint64_t seconds = ((days * 24 + read.hour) * 60 + read.minute) * 60 + read.second;
    *this = fromTicks(read.microseconds * 10U + seconds * kSecond);
}

CDateTimeSpan& CDateTimeSpan::operator+=(const CDateTimeSpan& span) noexcept {
    return *this = fromTicks(ticks() + span.ticks());
}

CDateTimeSpan& CDateTimeSpan::operator-=(const CDateTimeSpan& span) {
    if (span > *this) {
        ATL::AtlThrowImpl(status::kFail);
    }
    return *this = fromTicks(ticks() - span.ticks());
}

CDateTimeSpan& CDateTimeSpan::operator*=(unsigned int factor) noexcept {
    return *this = fromTicks(ticks() * factor);
}

CDateTimeSpan& CDateTimeSpan::operator/=(unsigned int divisor) noexcept {
    return *this = fromTicks(divisor == 0 ? 0 : ticks() / divisor);
}

// A divisor of 0 keeps the low half, where a division by a whole span keeps everything: callers rely on both.
CDateTimeSpan& CDateTimeSpan::operator%=(unsigned int divisor) noexcept {
    return *this = fromTicks(divisor == 0 ? low_ : ticks() % divisor);
}

void CDateTimeSpan::swap(CDateTimeSpan& other) noexcept {
    std::swap(*this, other);
}

CStringProxy CDateTimeSpan::getGeneralizedTime() const {
    const std::uint64_t years = ticks() / oneYear.ticks();
    const std::uint64_t rest = ticks() % oneYear.ticks();
    const auto seconds = static_cast<unsigned int>(rest / kSecond);
    std::array<char, 64> buffer{};
    const int size = std::snprintf(buffer.data(), buffer.size(), "%04llu%02u%02u%02u%02u%02u.%06u",
                                   static_cast<unsigned long long>(years), seconds / 2592000, seconds % 2592000 / 86400,
                                   seconds % 86400 / 3600, seconds % 3600 / 60, seconds % 60,
                                   static_cast<unsigned int>(rest % kSecond / 10));
    std::string text(buffer.data(), static_cast<std::size_t>(size));
    // Removes zeros of the integer part too, once the fraction has gone: one hour is "0000000001Z", no time at all "Z".
    text.resize(text.find_last_not_of("0.") + 1);
    text += 'Z';
    return CStringProxy(std::move(text));
}

CStringProxy CDateTimeSpan::tostring() const {
    return getGeneralizedTime();
}

CWStringProxy CDateTimeSpan::towstring() const {
    const CStringProxy narrow = getGeneralizedTime();
    std::array<wchar_t, 64> wide{};
    const int size = MultiByteToWideChar(CP_ACP, 0, narrow.c_str(), -1, wide.data(), static_cast<int>(wide.size()) - 1);
    return {size > 0 ? wide.data() : nullptr};
}

CDateTimeSpan operator+(CDateTimeSpan left, const CDateTimeSpan& right) noexcept {
    return left += right;
}

CDateTimeSpan operator-(CDateTimeSpan left, const CDateTimeSpan& right) {
    return left -= right;
}

CDateTimeSpan operator*(CDateTimeSpan span, unsigned int factor) noexcept {
    return span *= factor;
}

CDateTimeSpan operator/(CDateTimeSpan span, unsigned int divisor) noexcept {
    return span /= divisor;
}

CDateTimeSpan operator%(CDateTimeSpan span, unsigned int divisor) noexcept {
    return span %= divisor;
}

std::uint64_t operator/(const CDateTimeSpan& span, const CDateTimeSpan& divisor) noexcept {
    return divisor.ticks() == 0 ? 0 : span.ticks() / divisor.ticks();
}

CDateTimeSpan operator%(const CDateTimeSpan& span, const CDateTimeSpan& divisor) noexcept {
    return divisor.ticks() == 0 ? span : CDateTimeSpan::fromTicks(span.ticks() % divisor.ticks());
}

}  // namespace Orvane
