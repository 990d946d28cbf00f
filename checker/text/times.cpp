#include "checker/text/times.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace tallow::text {

using Orvane::CDateTime;

namespace {

constexpr std::int64_t kTicksPerMicrosecond = 10;
constexpr std::int64_t kEpochTicks = 116444736000000000;  // 1970 on the scale of CDateTime

}  // namespace

CDateTime dateOf(Time time) {
    using Microseconds = std::chrono::duration<std::int64_t, std::micro>;
    const std::int64_t sinceEpoch = std::chrono::floor<Microseconds>(time.time_since_epoch()).count();
    return CDateTime::fromTicks(
        static_cast<std::uint64_t>(std::max<std::int64_t>(0, sinceEpoch * kTicksPerMicrosecond + kEpochTicks)));
}

Time timeOf(const CDateTime& date) {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    // The top bit is never set in a date that was read.
    const Ticks sinceEpoch(static_cast<std::int64_t>(date.ticks()) - kEpochTicks);
    const auto first = std::chrono::ceil<Ticks>(Time::min().time_since_epoch());
    const auto last = std::chrono::floor<Ticks>(Time::max().time_since_epoch());
    return Time(std::chrono::duration_cast<Time::duration>(std::clamp(sinceEpoch, first, last)));
}

std::string iso8601(const CDateTime* time) {
    if (time == nullptr) {
        return {};
    }
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02uZ", time->year(), time->month(), time->day(),
                  time->hour(), time->minute(), time->second());
    return text;
}

std::string between(const CDateTime& one, const CDateTime& other) {
    struct Unit {
        std::uint64_t seconds;
        const char* name;
    };
    constexpr Unit kUnits[] = {{86400, " days"}, {3600, " h"}, {60, " min"}, {1, " s"}};
    const std::uint64_t ticks = one < other ? other.ticks() - one.ticks() : one.ticks() - other.ticks();
    std::uint64_t seconds = ticks / (kTicksPerMicrosecond * 1'000'000);
    std::string text;
    int numUnits = 0;
    for (const Unit& unit : kUnits) {
        const std::uint64_t count = seconds / unit.seconds;
        seconds %= unit.seconds;
        // The second unit is the one below the first.
        numUnits += count != 0 || numUnits != 0 ? 1 : 0;
        if (count != 0 && numUnits <= 2) {
            text += (text.empty() ? "" : " ") + std::to_string(count) +
                    (count == 1 && unit.seconds == kUnits[0].seconds ? " day" : unit.name);
        }
    }
    return text.empty() ? "less than a second" : text;
}

std::string iso8601(Time time) {
    if (time == timeOf(CDateTime::fromTicks(std::numeric_limits<std::int64_t>::max()))) {
        return "9999-12-31T23:59:59Z";  // what certificates and responses say for "without end"
    }
    const CDateTime date = dateOf(time);
    return iso8601(&date);
}

}  // namespace tallow::text
