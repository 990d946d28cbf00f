#include "foundation/date_time_text.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "tests/support/status_matcher.h"

namespace {

using Orvane::CDateTime;
using Orvane::fromXsdDateTimeString;
using Orvane::GeneralizedTimeToTm;
using Orvane::toXsdDateTimeString;
using testkit::IsStatus;
using testkit::thrownStatus;

TEST(DateTimeText, GeneralizedTimeIsReadAndWrittenBack) {
    const CDateTime noon(2024, 2, 29, 12, 0, 0, 0, 0);
    const std::tuple<const char*, CDateTime, const char*> rows[] = {
        {"20240229120000Z", noon, "20240229120000Z"},
        {"20240229120000", noon, "20240229120000Z"},
        {"20240229120000.5Z", CDateTime(2024, 2, 29, 12, 0, 0, 500, 0), "20240229120000.5Z"},
        {"20240229120000.000001Z", CDateTime(2024, 2, 29, 12, 0, 0, 0, 1), "20240229120000.000001Z"},
        {"20240229120000.9999999Z", CDateTime(2024, 2, 29, 12, 0, 0, 999, 999), "20240229120000.999999Z"},
        {"20240229120000x120Z", CDateTime(2024, 2, 29, 12, 0, 0, 120, 0), "20240229120000.12Z"},
        // A zone is not recognised: its digits are taken for a fraction.
        {"20240229120000+0300", CDateTime(2024, 2, 29, 12, 0, 0, 30, 0), "20240229120000.03Z"},
        {"99991231235959Z", CDateTime(9999, 12, 31, 23, 59, 59, 0, 0), "99991231235959Z"},
        {"2024022912000", noon, "20240229120000Z"},  // a field that the text ends in is missing
    };
    for (const auto& [text, time, back] : rows) {
        EXPECT_EQ(CDateTime(text), time) << text;
        EXPECT_STREQ(time.getGeneralizedTime().c_str(), back) << text;
    }
    // Below a microsecond there is no fraction to write.
    EXPECT_STREQ(CDateTime::fromTicks(noon.ticks() + 9).getGeneralizedTime().c_str(), "20240229120000Z");
    EXPECT_STREQ(CDateTime(12024, 1, 2, 0, 0, 0, 0, 0).getGeneralizedTime().c_str(), "20240102000000Z");
}

TEST(DateTimeText, GeneralizedTimeThatIsNoneIsRefused) {
    const std::pair<const char*, std::int32_t> rows[] = {
        {"2024022912000Z", status::kInvalidTime},
        {"20240229 20000Z", status::kInvalidTime},
        {"20240229120000.5ZZ", status::kInvalidTime},
        {"-0240229120000Z", status::kInvalidTime},
        {"20240229120000.12345xZ", status::kInvalidTime},
        {"", status::kFail},
        {"20230229120000Z", status::kFail},
        {"16001231235959Z", status::kFail},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(thrownStatus([&] { CDateTime time(row.first); }), IsStatus(row.second)) << row.first;
    }
}

TEST(DateTimeText, FieldsCountAsTheCallerNeedsThem) {
    unsigned int microseconds = 1;
    const std::tm point = GeneralizedTimeToTm("20240315", microseconds, false);
    EXPECT_EQ(point.tm_year, 124);
    EXPECT_EQ(point.tm_mon, 2);
    EXPECT_EQ(point.tm_mday, 15);
    EXPECT_EQ(microseconds, 0U);
    const std::tm span = GeneralizedTimeToTm("00010203040506.25Z", microseconds, true);
    EXPECT_EQ(span.tm_year, 1);
    EXPECT_EQ(span.tm_mon, 2);
    EXPECT_EQ(microseconds, 250000U);
    EXPECT_EQ(GeneralizedTimeToTm("2024", microseconds, false).tm_mon, -1);
}

TEST(DateTimeText, DisplayFormsShowAsMuchFractionAsThereIs) {
    struct Row {
        unsigned int millisecond, microsecond;
        const char* text;
        const char* xsd;
    };
    for (const Row& row : {Row{0, 0, "05.01.2024 06:07:08", "2024-01-05T06:07:08Z"},
                           Row{50, 0, "05.01.2024 06:07:08.050", "2024-01-05T06:07:08.050Z"},
                           Row{0, 250, "05.01.2024 06:07:08.000250", "2024-01-05T06:07:08Z"},
                           Row{999, 1, "05.01.2024 06:07:08.999001", "2024-01-05T06:07:08.999Z"}}) {
        const CDateTime time(2024, 1, 5, 6, 7, 8, row.millisecond, row.microsecond);
        EXPECT_STREQ(time.tostring().c_str(), row.text);
        const std::string narrow = row.text;
        EXPECT_EQ(std::wstring(time.towstring().c_str()), std::wstring(narrow.begin(), narrow.end()));
        EXPECT_STREQ(toXsdDateTimeString(time).c_str(), row.xsd);
        EXPECT_STREQ(time.getGeneralizedTimeTrimMicroseconds().c_str(), "05.01.2024 06:07:08");
    }
}

TEST(DateTimeText, XsdZonesAreBroughtToUtc) {
    const std::pair<const char*, const char*> rows[] = {
        {"2024-01-01T12:00:00Z", "20240101120000Z"},      {"2024-01-01T12:00:00z", "20240101120000Z"},
        {"2024-01-01T12:00:00+03:00", "20240101090000Z"}, {"2024-01-01T12:00:00.5-00:30", "20240101123000.5Z"},
        {"2024-01-01T12:00:00+14:00", "20231231220000Z"}, {"2024-01-01T12:00:00.75", "20240101120000.75Z"},
        {"2024-01-01T12:00:00+-5:00", "20240101170000Z"},  // of two signs the '-' is the zone's
        {"2024-1-1T2:3:4Z", "20240101020304Z"},
    };
    for (const auto& [text, utc] : rows) {
        EXPECT_STREQ(fromXsdDateTimeString(text).getGeneralizedTime().c_str(), utc) << text;
    }
}

TEST(DateTimeText, XsdTextThatIsNoneIsRefused) {
    const std::string noon = "2024-01-01T12:00:00";
    const std::pair<std::string, std::int32_t> rows[] = {
        {"", status::kInvalidTime},
        {noon, status::kInvalidTime},  // nothing behind the seconds
        {noon + "+14:01", status::kInvalidTime},
        {noon + "+0300", status::kInvalidTime},
        {noon + "--3:00", status::kInvalidTime},
        {noon + "+03:-1", status::kInvalidTime},
        {noon + ".5xZ", status::kInvalidTime},
        {"2024--1-01T12:00:00Z", status::kInvalidTime},
        {"2024-02-30T12:00:00Z", status::kFail},
        {"1601-01-01T00:00:00+00:01", status::kFail},
        {noon + "." + std::string(40, '1') + "+03:00", status::kInvalidTime},  // the zone would be lost
    };
    for (const auto& row : rows) {
        EXPECT_THAT(thrownStatus([&] { static_cast<void>(fromXsdDateTimeString(row.first.c_str())); }),
                    IsStatus(row.second))
            << row.first;
    }
}

}  // namespace
