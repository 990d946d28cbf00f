#include "foundation/date_time_span.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/status_matcher.h"

namespace {

using Orvane::CDateTimeSpan;
using testkit::IsStatus;
using testkit::thrownStatus;

constexpr std::uint64_t kSecond = 10'000'000;

TEST(DateTimeSpan, ShowsTheSameTextEverywhere) {
    const CDateTimeSpan most = CDateTimeSpan::fromTicks(UINT64_MAX);
    EXPECT_STREQ(most.tostring().c_str(), most.getGeneralizedTime().c_str());
    EXPECT_STREQ(CDateTimeSpan::OneYear().tostring().c_str(), "0001Z");
    EXPECT_STREQ(CDateTimeSpan::OneYear().towstring().c_str(), L"0001Z");
    EXPECT_EQ(CDateTimeSpan("0000000001Z"), CDateTimeSpan::OneHour());
}

TEST(DateTimeSpan, DividesByZeroWithoutAnError) {
    const CDateTimeSpan span = CDateTimeSpan::fromTicks(0x5'0000'0007);
    EXPECT_EQ((span / 0U).ticks(), 0U);
    EXPECT_EQ((span % 0U).ticks(), 7U);  // the low half alone
    EXPECT_EQ(span / CDateTimeSpan(), 0U);
    EXPECT_EQ(span % CDateTimeSpan(), span);
    EXPECT_EQ(CDateTimeSpan::OneDay() / CDateTimeSpan::OneHour(), 24U);
    EXPECT_EQ(CDateTimeSpan::OneYear() % CDateTimeSpan::OneMonth(), CDateTimeSpan::OneDay() * 5);
}

TEST(DateTimeSpan, WrapsUpwardsAndRejectsNegativeResults) {
    const CDateTimeSpan most = CDateTimeSpan::fromTicks(UINT64_MAX);
    EXPECT_EQ((most + CDateTimeSpan::fromTicks(2)).ticks(), 1U);
    EXPECT_EQ((most * 2).ticks(), UINT64_MAX - 1);
    EXPECT_THAT(thrownStatus([] { CDateTimeSpan() -= CDateTimeSpan::fromTicks(1); }), IsStatus(status::kFail));
    // Seconds are counted in 64 bits, the product of the microseconds in 32.
    EXPECT_EQ(CDateTimeSpan(UINT32_MAX, 0).ticks(), UINT32_MAX * kSecond);
    EXPECT_EQ(CDateTimeSpan(0, 429'496'730).ticks(), 4U);
    EXPECT_LT(CDateTimeSpan::fromTicks(UINT32_MAX), CDateTimeSpan::fromTicks(0x1'0000'0000));
}

}  // namespace
