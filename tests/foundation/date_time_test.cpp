#include "foundation/date_time.h"

#include <gtest/gtest.h>

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

TEST(DateAdd, RejectsUnitsThatOnlyEndLikeOne) {
    const CDateTime from(2024, 1, 1, 0, 0, 0, 0, 0);
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(DateAddA(nullptr, 1, from)); }),
                IsStatus(status::kInvalidArgument));
    for (const wchar_t* unit : {L"\u0173", L"\U00010064"}) {  // they end in the bits of 's' and 'd'
        EXPECT_THAT(thrownStatus([&] { static_cast<void>(DateAddW(unit, 1, from)); }),
                    IsStatus(status::kInvalidArgument));
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
