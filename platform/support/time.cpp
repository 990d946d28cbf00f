// Calendar time: the proleptic Gregorian calendar of the standard library over counts of 100 nanoseconds since 1601.
#include <time.h>

#include <chrono>
#include <cstdint>

#include "platform/support/support_service.h"

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::sys_days kEpoch = 1601y / 1 / 1;
constexpr uint64_t kTicksPerMillisecond = 10000;
constexpr uint64_t kTicksPerSecond = 10000000;
constexpr uint64_t kTicksPerDay = 86400 * kTicksPerSecond;
constexpr uint64_t kLastTick = INT64_MAX;
constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;

uint64_t ticksOf(const FILETIME& fileTime) {
    return static_cast<uint64_t>(fileTime.dwHighDateTime) << 32 | fileTime.dwLowDateTime;
}

FILETIME fileTimeOf(uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

BOOL fail(DWORD code) {
    SetLastError(code);
    return FALSE;
}

}  // namespace

BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime) {
    if (fileTime == nullptr || systemTime == nullptr || ticksOf(*fileTime) > kLastTick) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const uint64_t ticks = ticksOf(*fileTime);
    const auto day = kEpoch + std::chrono::days{ticks / kTicksPerDay};
    const uint64_t milliseconds = ticks % kTicksPerDay / kTicksPerMillisecond;
    const std::chrono::year_month_day date{day};
    systemTime->wYear = static_cast<WORD>(static_cast<int>(date.year()));
    systemTime->wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    systemTime->wDayOfWeek = static_cast<WORD>(std::chrono::weekday{day}.c_encoding());
    systemTime->wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    systemTime->wHour = static_cast<WORD>(milliseconds / 3600000);
    systemTime->wMinute = static_cast<WORD>(milliseconds / 60000 % 60);
    systemTime->wSecond = static_cast<WORD>(milliseconds / 1000 % 60);
    systemTime->wMilliseconds = static_cast<WORD>(milliseconds % 1000);
    return TRUE;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, FILETIME* fileTime) {
    if (systemTime == nullptr || fileTime == nullptr || systemTime->wYear < kFirstYear ||
        systemTime->wYear > kLastYear) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const std::chrono::year_month_day date{std::chrono::year{systemTime->wYear}, std::chrono::month{systemTime->wMonth},
                                           std::chrono::day{systemTime->wDay}};
    // The month and day types have eight bits: out-of-range values must not wrap into range.
    if (systemTime->wMonth > 12 || systemTime->wDay > 31 || !date.ok() || systemTime->wHour > 23 ||
        systemTime->wMinute > 59 || systemTime->wSecond > 59 || systemTime->wMilliseconds > 999) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const uint64_t days = static_cast<uint64_t>((std::chrono::sys_days{date} - kEpoch).count());
    const uint64_t seconds = (systemTime->wHour * 60U + systemTime->wMinute) * 60U + systemTime->wSecond;
    *fileTime =
        fileTimeOf(days * kTicksPerDay + seconds * kTicksPerSecond + systemTime->wMilliseconds * kTicksPerMillisecond);
    return TRUE;
}

void GetSystemTimeAsFileTime(FILETIME* fileTime) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const uint64_t daysToUnixEpoch = static_cast<uint64_t>(-kEpoch.time_since_epoch().count());
    const uint64_t ticks = daysToUnixEpoch * kTicksPerDay + static_cast<uint64_t>(now.tv_sec) * kTicksPerSecond +
                           static_cast<uint64_t>(now.tv_nsec) / 100;
    *fileTime = fileTimeOf(ticks);
}
