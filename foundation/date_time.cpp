#include "foundation/date_time.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <cwchar>
#include <limits>
#include <string>
#include <utility>

#include "foundation/generalized_time.h"
#include "foundation/time_records.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/support/support_service.h"

namespace Orvane {
namespace {

constexpr std::uint64_t kMicrosecond = 10;
constexpr std::uint64_t kMillisecond = 1000 * kMicrosecond;
constexpr std::uint64_t kSecond = 1000 * kMillisecond;
constexpr std::uint64_t kUnixEpoch = 116'444'736'000'000'000;

// Indexed by the month, from 1.
constexpr std::array<unsigned int, 13> maxDaysNonLeap = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr std::array<unsigned int, 13> maxDaysLeap = {0, 31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

constexpr std::uint64_t toTicks(const FILETIME& time) noexcept {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

constexpr std::uint64_t wholeMicroseconds(std::uint64_t ticks) noexcept {
    return ticks - ticks % kMicrosecond;
}

FILETIME toFileTime(std::uint64_t ticks) noexcept {
    FILETIME time{};
    time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    time.dwLowDateTime = static_cast<DWORD>(ticks);
    return time;
}

// Ticks of a calendar time; the converted last error is thrown for one that does not exist.
std::uint64_t calendarTicks(const SYSTEMTIME& time) {
    FILETIME converted{};
    if (!SystemTimeToFileTime(&time, &converted)) {
        ATL2::throwLastErrorOrFail();
    }
    return toTicks(converted);
}

SYSTEMTIME calendar(unsigned int year, unsigned int month, unsigned int day, unsigned int hour, unsigned int minute,
                    unsigned int second, unsigned int millisecond) {
    // A number that the record cannot hold is no date, and must not be cut to one.
    if (std::max({year, month, day, hour, minute, second, millisecond}) > std::numeric_limits<WORD>::max()) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    SYSTEMTIME time{};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDay = static_cast<WORD>(day);
    time.wHour = static_cast<WORD>(hour);
    time.wMinute = static_cast<WORD>(minute);
    time.wSecond = static_cast<WORD>(second);
    time.wMilliseconds = static_cast<WORD>(millisecond);
    return time;
}

// For the text forms, which have no way to report a time that the platform cannot convert: the process ends.
SYSTEMTIME calendarOrEnd(const CDateTime& time) noexcept {  // NOLINT(bugprone-exception-escape)
    return time.getSystemTime();
}

// Seconds that the process's zone is west of UTC at this moment, whatever date is being converted.
std::int64_t secondsWest() noexcept {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    tzset();
    return timezone - (local.tm_isdst > 0 ? 3600 : 0);
}

std::size_t format(char* buffer, std::size_t size, const std::tm& time) {
    return std::strftime(buffer, size, "%d.%m.%Y %H:%M:%S", &time);
}

std::size_t format(wchar_t* buffer, std::size_t size, const std::tm& time) {
    return std::wcsftime(buffer, size, L"%d.%m.%Y %H:%M:%S", &time);
}

// Date and time for people, with as much of the fraction as there is.
template <class Char>
std::basic_string<Char> displayText(const CDateTime& time) {
    std::array<Char, 256> buffer{};
    const std::size_t size = format(buffer.data(), buffer.size(), toTm(calendarOrEnd(time)));
    if (size == 0) {
        ATL::AtlThrowImpl(status::kFail);
    }
    std::basic_string<Char> text(buffer.data(), size);
    if (time.millisecond() != 0 || time.microsecond() != 0) {
        text += Char{'.'};
        appendPadded(text, time.millisecond());
    }
    if (time.microsecond() != 0) {
        appendPadded(text, time.microsecond());
    }
    return text;
}

// Appends `value` as `digits` decimal digits, the low ones.
void appendDigits(std::string& text, unsigned int value, int digits) {
    text.resize(text.size() + static_cast<std::size_t>(digits));
    for (std::size_t i = 1; i <= static_cast<std::size_t>(digits); ++i, value /= 10) {
        text[text.size() - i] = static_cast<char>('0' + value % 10);
    }
}

bool isLeap(int year) noexcept {
    return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
}

CDateTime moved(const CDateTime& from, const CDateTimeSpan& unit, int count) {
    if (count > 0) {
        return from + unit * static_cast<unsigned int>(count);
    }
    const unsigned int back = 0U - static_cast<unsigned int>(count);
    // A length beyond 64 bits reaches back before 1601 from any time; what its product wraps to may not.
    if (back > ~std::uint64_t{0} / unit.ticks()) {
        ATL::AtlThrowImpl(status::kFail);
    }
    return from - unit * back;
}

CDateTime movedByYears(const CDateTime& from, int years) {
    constexpr int kMonths = 12;
    // A count of months that overflows an int cannot lead to a valid year.
    if (years > std::numeric_limits<int>::max() / kMonths || years < std::numeric_limits<int>::min() / kMonths) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    return DateAddMonth(years * kMonths, from);
}

}  // namespace

CDateTime::CDateTime(long long seconds, unsigned int microseconds) noexcept
    : CDateTime(kUnixEpoch + static_cast<std::uint64_t>(seconds) * kSecond + microseconds * 10U) {}

CDateTime::CDateTime(const char* generalizedTime) : CDateTime(std::uint64_t{0}) {
    const GeneralizedTimeFields read = readGeneralizedTime(generalizedTime);
    const SYSTEMTIME time = calendar(read.year, read.month, read.day, read.hour, read.minute, read.second, 0);
    FILETIME converted{};
    if (!SystemTimeToFileTime(&time, &converted) || toTicks(converted) == ~std::uint64_t{0}) {
        ATL::AtlThrowImpl(status::kFail);
    }
    *this = CDateTime(toTicks(converted) + read.microseconds * kMicrosecond);
}

CDateTime::CDateTime(_FILETIME time) noexcept : CDateTime(wholeMicroseconds(toTicks(time))) {}

CDateTime::CDateTime(_SYSTEMTIME time) : CDateTime(wholeMicroseconds(calendarTicks(time))) {}

CDateTime::CDateTime(unsigned int year, unsigned int month, unsigned int day, unsigned int hour, unsigned int minute,
                     unsigned int second, unsigned int millisecond, unsigned int microsecond)
    : CDateTime(calendarTicks(calendar(year, month, day, hour, minute, second, millisecond)) +
                microsecond * kMicrosecond) {}

CDateTime CDateTime::Now() {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return CDateTime(now);
}

_SYSTEMTIME CDateTime::getSystemTime() const {
    const FILETIME time = getFileTime();
    SYSTEMTIME fields{};
    if (!FileTimeToSystemTime(&time, &fields)) {
        ATL2::throwLastErrorOrFail();
    }
    return fields;
}

_FILETIME CDateTime::getFileTime() const noexcept {
    return toFileTime(ticks());
}

unsigned int CDateTime::year() const {
    return getSystemTime().wYear;
}
unsigned int CDateTime::month() const {
    return getSystemTime().wMonth;
}
unsigned int CDateTime::day() const {
    return getSystemTime().wDay;
}
unsigned int CDateTime::hour() const {
    return getSystemTime().wHour;
}
unsigned int CDateTime::minute() const {
    return getSystemTime().wMinute;
}
unsigned int CDateTime::second() const {
    return getSystemTime().wSecond;
}

unsigned int CDateTime::millisecond() const noexcept {
    return static_cast<unsigned int>(ticks() % kSecond / kMillisecond);
}

unsigned int CDateTime::microsecond() const noexcept {
    return static_cast<unsigned int>(ticks() % kSecond / kMicrosecond % 1000);
}

long long CDateTime::getTime() const noexcept {
    return static_cast<long long>(ticks() - kUnixEpoch) / static_cast<long long>(kSecond);
}

CStringProxy CDateTime::getGeneralizedTime() const {
    const SYSTEMTIME time = calendarOrEnd(*this);
    std::string text;
    text.reserve(22);
    appendDigits(text, time.wYear, 4);
    for (const WORD field : {time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond}) {
        appendDigits(text, field, 2);
    }
    if (const std::uint64_t fraction = ticks() % kSecond; fraction >= kMicrosecond) {
        text += '.';
        appendDigits(text, static_cast<unsigned int>(fraction / kMicrosecond), 6);
        text.resize(text.find_last_not_of('0') + 1);
    }
    text += 'Z';
    return CStringProxy(std::move(text));
}

CStringProxy CDateTime::getGeneralizedTimeTrimMicroseconds() const {
    std::array<char, 256> buffer{};
    const std::tm fields = toTm(getSystemTime());
    if (std::strftime(buffer.data(), buffer.size(), "%d.%m.%Y %X", &fields) == 0) {
        ATL::AtlThrowImpl(status::kFail);
    }
    return {buffer.data()};
}

CStringProxy CDateTime::tostring() const {
    return CStringProxy(displayText<char>(*this));
}

CWStringProxy CDateTime::towstring() const {
    return CWStringProxy(displayText<wchar_t>(*this));
}

CDateTime CDateTime::utcToLocal() const {
    return CDateTime(wholeMicroseconds(ticks() - static_cast<std::uint64_t>(secondsWest()) * kSecond));
}

CDateTime CDateTime::localToUtc() const {
    return CDateTime(wholeMicroseconds(ticks() + static_cast<std::uint64_t>(secondsWest()) * kSecond));
}

CDateTime& CDateTime::operator+=(const CDateTimeSpan& span) noexcept {
    return *this = CDateTime(ticks() + span.ticks());
}

CDateTime& CDateTime::operator-=(const CDateTimeSpan& span) {
    if (span.ticks() > ticks()) {
        ATL::AtlThrowImpl(status::kFail);
    }
    return *this = CDateTime(ticks() - span.ticks());
}

void CDateTime::swap(CDateTime& other) noexcept {
    std::swap(*this, other);
}

CDateTime operator+(CDateTime time, const CDateTimeSpan& span) noexcept {
    return time += span;
}

CDateTime operator-(CDateTime time, const CDateTimeSpan& span) {
    return time -= span;
}

CDateTimeSpan operator-(const CDateTime& left, const CDateTime& right) {
    if (right > left) {
        ATL::AtlThrowImpl(status::kFail);
    }
    return CDateTimeSpan::fromTicks(left.ticks() - right.ticks());
}

CDateTime DateAddA(const char* unit, int count, const CDateTime& from) {
    if (unit == nullptr) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    switch (*unit) {
        case 's':
            return moved(from, CDateTimeSpan::OneSecond(), count);
        case 'n':
            return moved(from, CDateTimeSpan::OneMinute(), count);
        case 'h':
            return moved(from, CDateTimeSpan::OneHour(), count);
        case 'd':
        case '\0':
            return moved(from, CDateTimeSpan::OneDay(), count);
        case 'w':
            return moved(from, CDateTimeSpan::OneDay() * 7, count);
        case 'm':
            return DateAddMonth(count, from);
        case 'y':
            return movedByYears(from, count);
        default:
            ATL::AtlThrowImpl(status::kInvalidArgument);
    }
}

CDateTime DateAddW(const wchar_t* unit, int count, const CDateTime& from) {
    // Characters beyond ASCII are rejected like any other unknown unit.
    const std::array<char, 2> narrow = {*unit > 0 && *unit < 0x80 ? static_cast<char>(*unit) : '?', '\0'};
    return DateAddA(*unit == L'\0' ? "" : narrow.data(), count, from);
}

CDateTime DateAddMonth(int months, const CDateTime& from) {
    const SYSTEMTIME time = from.getSystemTime();
    int year = time.wYear + months / 12;
    int month = time.wMonth + months % 12;
    if (month > 12) {
        month -= 12;
        ++year;
    } else if (month <= 0) {
        month += 12;
        --year;
    }
    if (year < 0) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    const auto& maxDays = isLeap(year) ? maxDaysLeap : maxDaysNonLeap;
    return {static_cast<unsigned int>(year),
            static_cast<unsigned int>(month),
            std::min<unsigned int>(time.wDay, maxDays[static_cast<std::size_t>(month)]),
            time.wHour,
            time.wMinute,
            time.wSecond,
            time.wMilliseconds,
            from.microsecond()};
}

}  // namespace Orvane
