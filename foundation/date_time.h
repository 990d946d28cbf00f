// A point in time in UTC: producedAt, thisUpdate, nextUpdate, signing times, the limits that policy sets.
//
//   CDateTime limit = CDateTime::Now() - CDateTimeSpan::OneDay() * 7;
//   if (CDateTime("20240229120000Z") < limit) ...
//
// A value has no zone of its own: utcToLocal only moves the count. Functions that say so use the time zone or the
// locale of the process; both must not be changed by another thread meanwhile.
#pragma once

#include <compare>
#include <cstdint>

#include "export.h"
#include "foundation/date_time_span.h"
#include "foundation/string_proxy.h"

// The platform's records; platform/support/support_service.h defines them.
struct _FILETIME;
struct _SYSTEMTIME;

namespace Orvane {

/// An unsigned 64-bit count of ticks of 100 nanoseconds since 1601-01-01 00:00:00 UTC, the scale of _FILETIME, held as
/// two 32-bit halves. The constructors from the platform's records, Now, utcToLocal and localToUtc round down to a
/// whole microsecond. Sums wrap without a test: a time from the network must be compared before spans are added to it.
/// A difference below 0 throws 0x80004005.
///
/// Where a calendar conversion of the platform fails, its converted last error is thrown as ATL::CAtlException, unless
/// the operation says otherwise.
class TALLOW_EXPORT CDateTime {
public:
    /// Seconds since 1970-01-01, negative before, and microseconds; microseconds * 10 is taken in 32 bits and wraps.
    /// Seconds before 1601 wrap, too.
    CDateTime(long long seconds, unsigned int microseconds) noexcept;
    CDateTime(long seconds, unsigned int microseconds) noexcept
        : CDateTime(static_cast<long long>(seconds), microseconds) {}
    /// So that CDateTime(0, 0) is not ambiguous.
    CDateTime(int seconds, unsigned int microseconds) noexcept
        : CDateTime(static_cast<long long>(seconds), microseconds) {}
    /// Reads "YYYYMMDDHHMMSS", then optionally any one character and up to 6 digits of a fraction (further ones are
    /// cut), then optionally 'Z'. Missing fields are 0, so a text without month or day is no date. Another time zone is
    /// not recognised: the time is taken as UTC, and the digits of "+0300" as its fraction. Not null.
    ///
    /// Throws 0x8007076D for a character other than a digit in a field, 0x80004005 for a date that does not exist.
    explicit CDateTime(const char* generalizedTime);
    /// From the platform's records, which are in UTC, rounded down to a whole microsecond. A _SYSTEMTIME that is not a
    /// valid date throws the converted last error.
    explicit CDateTime(_FILETIME time) noexcept;
    explicit CDateTime(_SYSTEMTIME time);
    /// From calendar fields in UTC, years 1601 to 30827; month and day count from 1, millisecond is within the second,
    /// microsecond within the millisecond. Fields that are not a valid date throw the converted last error, those above
    /// 65535 throw 0x80070057; `microsecond` is added without a check.
    CDateTime(unsigned int year, unsigned int month, unsigned int day, unsigned int hour, unsigned int minute,
              unsigned int second, unsigned int millisecond, unsigned int microsecond);

    /// From and to the raw count of ticks: every number is a time, and none is rejected.
    [[nodiscard]] static constexpr CDateTime fromTicks(std::uint64_t ticks) noexcept { return CDateTime(ticks); }
    [[nodiscard]] constexpr std::uint64_t ticks() const noexcept { return std::uint64_t{high_} << 32 | low_; }
    /// The current time of the system's clock, in UTC. It may jump when the clock is set: use it for dates, not to
    /// measure how long something takes.
    [[nodiscard]] static CDateTime Now();

    /// Calendar fields in UTC, computed on every call. They throw as described above when the platform cannot convert
    /// the time: counts with the top bit set.
    [[nodiscard]] unsigned int year() const;
    [[nodiscard]] unsigned int month() const;  ///< 1 to 12
    [[nodiscard]] unsigned int day() const;
    [[nodiscard]] unsigned int hour() const;
    [[nodiscard]] unsigned int minute() const;
    [[nodiscard]] unsigned int second() const;
    [[nodiscard]] unsigned int millisecond() const noexcept;  ///< within the second
    [[nodiscard]] unsigned int microsecond() const noexcept;  ///< within the millisecond
    /// The platform's records: calendar fields down to milliseconds, which throws as the getters above, and the count
    /// of ticks.
    [[nodiscard]] _SYSTEMTIME getSystemTime() const;
    [[nodiscard]] _FILETIME getFileTime() const noexcept;
    /// Whole seconds since 1970-01-01, truncated towards 0.
    [[nodiscard]] long long getTime() const noexcept;

    /// "YYYYMMDDHHMMSS", a fraction of 1 to 6 digits that never ends in 0 if there is one, 'Z'. A time that the
    /// platform cannot convert ends the process.
    [[nodiscard]] CStringProxy getGeneralizedTime() const;
    /// Despite its name the display form "DD.MM.YYYY" with the locale's time of day after it. Callers rely on this
    /// form. Throws 0x80004005 when it cannot be made, and the converted last error for a time that the platform cannot
    /// convert.
    [[nodiscard]] CStringProxy getGeneralizedTimeTrimMicroseconds() const;
    /// "DD.MM.YYYY HH:MM:SS", followed by '.' and 3 or 6 digits when milliseconds or microseconds are not 0. Throws
    /// 0x80004005 when it cannot be made; a time that the platform cannot convert ends the process.
    [[nodiscard]] CStringProxy tostring() const;
    [[nodiscard]] CWStringProxy towstring() const;

    /// Move between UTC and the process's time zone with the offset of the present moment: a winter date converted in
    /// summer gets the summer offset. They must not race with a change of the zone. For display only: compare times in
    /// UTC.
    [[nodiscard]] CDateTime utcToLocal() const;
    [[nodiscard]] CDateTime localToUtc() const;

    /// Move the time. += wraps; -= throws 0x80004005 for a result before 1601, with the object unchanged.
    CDateTime& operator+=(const CDateTimeSpan& span) noexcept;
    CDateTime& operator-=(const CDateTimeSpan& span);
    /// Exchanges the two times.
    void swap(CDateTime& other) noexcept;

private:
    explicit constexpr CDateTime(std::uint64_t ticks) noexcept
        : high_(static_cast<std::uint32_t>(ticks >> 32)), low_(static_cast<std::uint32_t>(ticks)) {}

    std::uint32_t high_;
    std::uint32_t low_;
};

/// A moved copy; wrapping and failure as for += and -=.
[[nodiscard]] TALLOW_EXPORT CDateTime operator+(CDateTime time, const CDateTimeSpan& span) noexcept;
[[nodiscard]] TALLOW_EXPORT CDateTime operator-(CDateTime time, const CDateTimeSpan& span);
/// The time from `right` to `left`. Throws 0x80004005 if `right` is later than `left`, so compare first where the
/// clocks of two systems meet.
[[nodiscard]] TALLOW_EXPORT CDateTimeSpan operator-(const CDateTime& left, const CDateTime& right);

/// Compare the instants to the tick, fractions of a second included.
[[nodiscard]] constexpr bool operator==(const CDateTime& left, const CDateTime& right) noexcept {
    return left.ticks() == right.ticks();
}
[[nodiscard]] constexpr auto operator<=>(const CDateTime& left, const CDateTime& right) noexcept {
    return left.ticks() <=> right.ticks();
}

/// `from` moved by `count` units, of which only the first character counts: s seconds, n minutes, h hours, d or the
/// empty text days, w weeks, m calendar months, y calendar years. Any other letter, upper case included, and a null
/// `unit` throw 0x80070057. A result before 1601 throws 0x80004005, by months and years what DateAddMonth throws.
[[nodiscard]] TALLOW_EXPORT CDateTime DateAddA(const char* unit, int count, const CDateTime& from);
/// The same for a wide unit, which must not be null; a character beyond ASCII is an unknown unit.
[[nodiscard]] TALLOW_EXPORT CDateTime DateAddW(const wchar_t* unit, int count, const CDateTime& from);
/// `from` moved by calendar months; a day that the new month does not have becomes its last day, and stays so. Throws
/// 0x80070057 for a year that the platform's calendar does not have.
[[nodiscard]] TALLOW_EXPORT CDateTime DateAddMonth(int months, const CDateTime& from);

}  // namespace Orvane
