// A non-negative length of time, the companion of CDateTime.
//
//   CDateTimeSpan window = CDateTimeSpan::OneMinute() * 3;
//   if (now - response.get_producedAt() > window) ...        // throws if producedAt is later than now
//   unsigned seconds = static_cast<unsigned>(window.ticks() / 10000000);
//
// There are no negative spans: compare two times before subtracting the earlier from the later one.
#pragma once

#include <compare>
#include <cstdint>

#include "export.h"
#include "foundation/string_proxy.h"

namespace Orvane {

/// An unsigned 64-bit count of ticks of 100 nanoseconds, held as two 32-bit halves; at most some 58,000 years. Sums and
/// products wrap without a test: keep factors that come from outside within bounds. A difference below 0 throws
/// ATL::CAtlException with 0x80004005.
class TALLOW_EXPORT CDateTimeSpan {
public:
    /// A span of 0.
    constexpr CDateTimeSpan() noexcept = default;
    /// From seconds and microseconds, which are added. Both products are unsigned; seconds are counted in 64 bits, but
    /// microseconds * 10 is taken in 32 and wraps above some 429 seconds.
    CDateTimeSpan(unsigned int seconds, unsigned int microseconds) noexcept;
    /// Reads the form that getGeneralizedTime() writes, "YYYYMMDDHHMMSS.ffffff", a year being 365 days and a month 30.
    /// Missing fields are 0; digits of the fraction after the sixth and a last 'Z' are ignored. A character other than
    /// a digit inside a field throws 0x8007076D. Not null.
    explicit CDateTimeSpan(const char* text);

    /// From and to the raw count of ticks; ticks() / 10000000 are whole seconds. The result is 64 bits: take care
    /// before it is narrowed to a number of seconds or milliseconds.
    [[nodiscard]] static constexpr CDateTimeSpan fromTicks(std::uint64_t ticks) noexcept;
    [[nodiscard]] constexpr std::uint64_t ticks() const noexcept { return std::uint64_t{high_} << 32 | low_; }
    /// The halves of the count, as in a _FILETIME.
    [[nodiscard]] constexpr std::uint32_t getHighPart() const noexcept { return high_; }
    [[nodiscard]] constexpr std::uint32_t getLowPart() const noexcept { return low_; }

    /// The units, as objects and as functions that return them. As a span has no calendar, a month is 30 days and a
    /// year 365; DateAddMonth moves by calendar months. They are set before any code of the library runs, so static
    /// objects may use them.
    static const CDateTimeSpan oneYear;   ///< 365 days exactly
    static const CDateTimeSpan oneMonth;  ///< 30 days exactly
    static const CDateTimeSpan oneDay;
    static const CDateTimeSpan oneHour;
    static const CDateTimeSpan oneMinute;
    static const CDateTimeSpan oneSecond;
    static const CDateTimeSpan oneMillisecond;
    static const CDateTimeSpan& OneYear() noexcept { return oneYear; }
    static const CDateTimeSpan& OneMonth() noexcept { return oneMonth; }
    static const CDateTimeSpan& OneDay() noexcept { return oneDay; }
    static const CDateTimeSpan& OneHour() noexcept { return oneHour; }
    static const CDateTimeSpan& OneMinute() noexcept { return oneMinute; }
    static const CDateTimeSpan& OneSecond() noexcept { return oneSecond; }
    static const CDateTimeSpan& OneMillisecond() noexcept { return oneMillisecond; }

    /// Arithmetic on the ticks. -= throws 0x80004005 for a negative result, with the object unchanged; sums and
    /// products wrap, silently and into a short span.
    CDateTimeSpan& operator+=(const CDateTimeSpan& span) noexcept;
    CDateTimeSpan& operator-=(const CDateTimeSpan& span);
    CDateTimeSpan& operator*=(unsigned int factor) noexcept;
    /// Divides and rounds down. A divisor of 0 gives 0.
    CDateTimeSpan& operator/=(unsigned int divisor) noexcept;
    /// The remainder fits 32 bits. A divisor of 0 leaves the low 32 bits unchanged and clears the high ones.
    CDateTimeSpan& operator%=(unsigned int divisor) noexcept;
    /// Exchanges the two spans.
    void swap(CDateTimeSpan& other) noexcept;

    /// Years in at least 4 digits, then month, day, hour, minute and second in 2 digits each, '.', microseconds in 6;
    /// then every trailing '0' and '.' of the whole is cut, those of the integer part too, and 'Z' is appended. One
    /// hour is "0000000001Z", 0 is "Z". Only a text whose cut falls between two fields reads back.
    [[nodiscard]] CStringProxy getGeneralizedTime() const;
    /// The same text as getGeneralizedTime, narrow and wide: for logs, not for people.
    [[nodiscard]] CStringProxy tostring() const;
    [[nodiscard]] CWStringProxy towstring() const;

private:
    std::uint32_t high_ = 0;
    std::uint32_t low_ = 0;
};

constexpr CDateTimeSpan CDateTimeSpan::fromTicks(std::uint64_t ticks) noexcept {
    CDateTimeSpan span;
    span.high_ = static_cast<std::uint32_t>(ticks >> 32);
    span.low_ = static_cast<std::uint32_t>(ticks);
    return span;
}

/// The operators as new spans; wrapping, failures and divisors of 0 as above. `span * 3` is possible, `3 * span` is
/// not.
[[nodiscard]] TALLOW_EXPORT CDateTimeSpan operator+(CDateTimeSpan left, const CDateTimeSpan& right) noexcept;
[[nodiscard]] TALLOW_EXPORT CDateTimeSpan operator-(CDateTimeSpan left, const CDateTimeSpan& right);
[[nodiscard]] TALLOW_EXPORT CDateTimeSpan operator*(CDateTimeSpan span, unsigned int factor) noexcept;
[[nodiscard]] TALLOW_EXPORT CDateTimeSpan operator/(CDateTimeSpan span, unsigned int divisor) noexcept;
[[nodiscard]] TALLOW_EXPORT CDateTimeSpan operator%(CDateTimeSpan span, unsigned int divisor) noexcept;
/// How often `divisor` fits into `span`, rounded down; a divisor of 0 gives 0.
[[nodiscard]] TALLOW_EXPORT std::uint64_t operator/(const CDateTimeSpan& span, const CDateTimeSpan& divisor) noexcept;
/// The rest of that division; a divisor of 0 gives `span` unchanged.
[[nodiscard]] TALLOW_EXPORT CDateTimeSpan operator%(const CDateTimeSpan& span, const CDateTimeSpan& divisor) noexcept;

/// Compare the lengths to the tick.
[[nodiscard]] constexpr bool operator==(const CDateTimeSpan& left, const CDateTimeSpan& right) noexcept {
    return left.ticks() == right.ticks();
}
[[nodiscard]] constexpr auto operator<=>(const CDateTimeSpan& left, const CDateTimeSpan& right) noexcept {
    return left.ticks() <=> right.ticks();
}

}  // namespace Orvane
