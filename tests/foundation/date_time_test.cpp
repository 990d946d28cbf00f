#include "foundation/date_time.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "platform/support/support_service.h"
#include "tests/support/status_matcher.h"

namespace {

using Orvane::CDateTime;
using Orvane::CDateTimeSpan;
using Orvane::DateAddA;
using Orvane::DateAddW;
using testkit::IsStatus;
using testkit::thrownStatus;

constexpr std::uint64_t kUnixEpoch = 116'444'736'000'000'000;

CDateTime day(unsigned int year, unsigned int month, unsigned int dayOfMonth) {
    return {year, month, dayOfMonth, 1, 2, 3, 4, 5};
}

TEST(DateTime, CountsFromTheEpochsItIsGiven) {
    EXPECT_EQ(CDateTime(0, 0).ticks(), kUnixEpoch);
    EXPECT_EQ(CDateTime(-1L, 0).ticks(), kUnixEpoch - 10'000'000);
    EXPECT_EQ(CDateTime(1LL, 5).ticks(), kUnixEpoch + 10'000'050);
    EXPECT_EQ(CDateTime(0, 429'496'730).ticks(), kUnixEpoch + 4);  // the product wraps in 32 bits
    EXPECT_EQ(CDateTime(1'709'208'000L, 0), CDateTime(2024, 2, 29, 12, 0, 0, 0, 0));
    EXPECT_EQ(CDateTime(1'709'208'000L, 999'999).getTime(), 1'709'208'000);
    const std::time_t now = std::time(nullptr);
    EXPECT_GE(CDateTime::Now().getTime(), now);
    EXPECT_LE(CDateTime::Now().getTime(), now + 10);
    EXPECT_EQ(CDateTime::Now().ticks() % 10, 0U);
}

TEST(DateTime, RoundsThePlatformsRecordsDownToMicroseconds) {
    const CDateTime fromFileTime(FILETIME{0xFFFFFFFFU, 0x01D00000U});
    EXPECT_EQ(fromFileTime.ticks(), 0x01D0'0000'FFFF'FFFFU - 0x01D0'0000'FFFF'FFFFU % 10);
    EXPECT_EQ(fromFileTime.getFileTime().dwHighDateTime, 0x01D00000U);

    const CDateTime time(2024, 2, 29, 23, 59, 58, 987, 654);
    EXPECT_EQ((std::vector<unsigned>{time.year(), time.month(), time.day(), time.hour(), time.minute(), time.second(),
                                     time.millisecond(), time.microsecond()}),
              (std::vector<unsigned>{2024, 2, 29, 23, 59, 58, 987, 654}));
    EXPECT_EQ(CDateTime(time.getSystemTime()), CDateTime(2024, 2, 29, 23, 59, 58, 987, 0));
}

TEST(DateTime, RejectsInvalidDates) {
    struct Row {
        unsigned int year, month, day, hour;
    };
    for (const Row& row : {Row{2023, 2, 29, 0}, Row{2024, 13, 1, 0}, Row{2024, 0, 1, 0}, Row{1600, 1, 1, 0},
                           Row{2024, 1, 1, 24}, Row{65536 + 2024, 1, 1, 0}}) {
        EXPECT_THAT(thrownStatus([&] { CDateTime(row.year, row.month, row.day, row.hour, 0, 0, 0, 0); }),
                    IsStatus(status::kInvalidArgument))
            << row.year << "-" << row.month << "-" << row.day;
    }
    EXPECT_THAT(thrownStatus([] { CDateTime(SYSTEMTIME{}); }), IsStatus(status::kInvalidArgument));
    const CDateTime beyond = CDateTime::fromTicks(UINT64_MAX);
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(beyond.year()); }), IsStatus(status::kInvalidArgument));
    EXPECT_DEATH(static_cast<void>(beyond.getGeneralizedTime()), "");
    EXPECT_DEATH(static_cast<void>(beyond.tostring()), "");
}

TEST(DateTime, AddsAndSubtractsSpans) {
    const CDateTime early = CDateTime::fromTicks(5);
    EXPECT_EQ((early + CDateTimeSpan::fromTicks(UINT64_MAX)).ticks(), 4U);
    EXPECT_EQ((early - CDateTimeSpan::fromTicks(5)).ticks(), 0U);
    EXPECT_EQ((CDateTime::fromTicks(9) - early).ticks(), 4U);
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(early - CDateTimeSpan::fromTicks(6)); }), IsStatus(status::kFail));
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(early - CDateTime::fromTicks(6)); }), IsStatus(status::kFail));
    EXPECT_LT(CDateTime::fromTicks(UINT32_MAX), CDateTime::fromTicks(0x1'0000'0000));
}

TEST(DateAdd, AddsTheUnitOfTheLetter) {
    struct Row {
        const char* unit;
        int count;
        CDateTime from;
        CDateTime expected;
    };
    const CDateTime march = day(2024, 3, 31);
    const Row rows[] = {
        {"s", 1, march, march + CDateTimeSpan::OneSecond()},
        {"n", -2, march, march - CDateTimeSpan::OneMinute() * 2},
        {"hours", 24, march, day(2024, 4, 1)},
        {"d", 0, march, march},
        {"", 2, march, day(2024, 4, 2)},
        {"w", 1, march, day(2024, 4, 7)},
        {"m", 1, day(2023, 1, 31), day(2023, 2, 28)},
        {"m", -3, march, day(2023, 12, 31)},
        {"m", -27, march, day(2021, 12, 31)},
        {"m", 11, day(2099, 3, 30), day(2100, 2, 28)},
        {"y", 1, day(2024, 2, 29), day(2025, 2, 28)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.unit) + " " + std::to_string(row.count));
        EXPECT_EQ(DateAddA(row.unit, row.count, row.from), row.expected);
        const std::string unit = row.unit;
        EXPECT_EQ(DateAddW(std::wstring(unit.begin(), unit.end()).c_str(), row.count, row.from), row.expected);
    }
}

TEST(DateAdd, RejectsOtherUnitsAndResultsBeforeTheEpoch) {
    const CDateTime from = day(2024, 1, 1);
    for (const char* unit : {"x", "D", " d", static_cast<const char*>(nullptr)}) {
        EXPECT_THAT(thrownStatus([&] { static_cast<void>(DateAddA(unit, 1, from)); }),
                    IsStatus(status::kInvalidArgument));
    }
    for (const wchar_t* unit : {L"M", L"\u0173", L"\U00010064"}) {  // the last two end in the bits of 's' and 'd'
        EXPECT_THAT(thrownStatus([&] { static_cast<void>(DateAddW(unit, 1, from)); }),
                    IsStatus(status::kInvalidArgument));
    }
    struct Row {
        const char* unit;
        int count;
        std::int32_t status;
    };
    const Row rows[] = {
        {"w", -52 * 500, status::kFail},
        // So large that their length in ticks, or in months, wraps to a small one.
        {"d", -21'350'399, status::kFail},
        {"w", -3'050'057, status::kFail},
        {"y", 357'913'942, status::kInvalidArgument},
        {"y", -357'913'942, status::kInvalidArgument},
        {"m", INT_MIN, status::kInvalidArgument},
        {"m", INT_MAX, status::kInvalidArgument},
        {"m", -424 * 12, status::kInvalidArgument},
        {"m", 70000 * 12, status::kInvalidArgument},
    };
    for (const Row& row : rows) {
        EXPECT_THAT(thrownStatus([&] { static_cast<void>(DateAddA(row.unit, row.count, from)); }), IsStatus(row.status))
            << row.unit << " " << row.count;
    }
}

TEST(DateTime, MovesBetweenUtcAndTheZoneOfTheProcess) {
    const char* const before = std::getenv("TZ");
    const std::string kept = before == nullptr ? "" : before;
    setenv("TZ", "XXX-3:30", 1);
    tzset();
    const CDateTime time = CDateTime::fromTicks(kUnixEpoch + 7);
    EXPECT_EQ(time.utcToLocal().ticks(), kUnixEpoch + (3 * 3600 + 1800) * 10'000'000ULL);
    EXPECT_EQ(time.utcToLocal().localToUtc().ticks(), kUnixEpoch);
    // Summer time all the year round: the zone's own offset, less one hour.
    setenv("TZ", "XXX5YYY,0/0,J365/25", 1);
    tzset();
    EXPECT_EQ(time.localToUtc().ticks(), kUnixEpoch + 4 * 3600 * 10'000'000ULL);
    before == nullptr ? unsetenv("TZ") : setenv("TZ", kept.c_str(), 1);
    tzset();
}

}  // namespace
