#include "foundation/date_time_span.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/support/status_matcher.h"

namespace {

using Orvane::CDateTimeSpan;
using testkit::IsStatus;
using testkit::thrownStatus;

constexpr std::uint64_t kSecond = 10'000'000;

TEST(DateTimeSpan, WritesItsTextWithTheTrailingZerosCut) {
    const std::pair<std::uint64_t, const char*> rows[] = {
        {0, "Z"},
        {3600 * kSecond, "0000000001Z"},
        {600 * kSecond, "00000000001Z"},  // the cut falls inside a field
        {59 * kSecond + 5'000'000, "00000000000059.5Z"},
        {10, "00000000000000.000001Z"},
        {365 * 86400 * kSecond, "0001Z"},
        {364 * 86400 * kSecond, "00001204Z"},  // 12 months of 30 days and 4 days
        {UINT64_MAX, "584940907235551.9709551615Z"},
    };
    for (const auto& [ticks, text] : rows) {
        SCOPED_TRACE(ticks);
        const CDateTimeSpan span = CDateTimeSpan::fromTicks(ticks);
        if (ticks != UINT64_MAX) {
            EXPECT_STREQ(span.getGeneralizedTime().c_str(), text);
        }
        EXPECT_STREQ(span.tostring().c_str(), span.getGeneralizedTime().c_str());
        const std::string narrow = span.tostring().c_str();
        EXPECT_EQ(std::wstring(span.towstring().c_str()), std::wstring(narrow.begin(), narrow.end()));
    }
}

TEST(DateTimeSpan, ReadsItsTextWhereTheCutFallsBetweenFields) {
    const std::pair<const char*, std::uint64_t> rows[] = {
        {"", 0},
        {"0001", 365 * 86400 * kSecond},
        {"00010203040506.5Z", ((((365ULL + 2 * 30 + 3) * 24 + 4) * 60 + 5) * 60 + 6) * kSecond + kSecond / 2},
        {"99999999999999.9999999Z",
         ((((9999ULL * 365 + 99 * 30 + 99) * 24 + 99) * 60 + 99) * 60 + 99) * kSecond + 9'999'990},
    };
    for (const auto& [text, ticks] : rows) {
        EXPECT_EQ(CDateTimeSpan(text).ticks(), ticks) << text;
    }
    EXPECT_EQ(CDateTimeSpan("0000000001Z"), CDateTimeSpan::OneHour());
    EXPECT_THAT(thrownStatus([] { CDateTimeSpan("00000000001Z"); }), IsStatus(status::kInvalidTime));
}

TEST(DateTimeSpan, DividesByNothingWithoutAnError) {
    const CDateTimeSpan span = CDateTimeSpan::fromTicks(0x5'0000'0007);
    EXPECT_EQ((span / 0U).ticks(), 0U);
    EXPECT_EQ((span % 0U).ticks(), 7U);  // the low half alone
    EXPECT_EQ(span / CDateTimeSpan(), 0U);
    EXPECT_EQ(span % CDateTimeSpan(), span);
    EXPECT_EQ(CDateTimeSpan::OneDay() / CDateTimeSpan::OneHour(), 24U);
    EXPECT_EQ(CDateTimeSpan::OneYear() % CDateTimeSpan::OneMonth(), CDateTimeSpan::OneDay() * 5);
}

TEST(DateTimeSpan, WrapsUpwardsAndRefusesToGoBelowZero) {
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
