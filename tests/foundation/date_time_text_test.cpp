#include "foundation/date_time_text.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/blob.h"
#include "foundation/date_time_span.h"
#include "tests/support/status_matcher.h"
#include "tests/support/vectors.h"

namespace {

using Orvane::CBlob;
using Orvane::CDateTime;
using Orvane::CDateTimeSpan;
using Orvane::fromXsdDateTimeString;
using Orvane::GeneralizedTimeToTm;
using Orvane::toXsdDateTimeString;
using testkit::answered;

TEST(Texts, AnswerTheirVectors) {
    testkit::expectVectors(
        "foundation/texts.txt",
        {{"GeneralizedTime",
          [](const std::string& text) {
              return answered([&] { return std::string(CDateTime(text.c_str()).getGeneralizedTime().c_str()); });
          }},
         {"xsd",
          [](const std::string& text) {
              return answered(
                  [&] { return std::string(fromXsdDateTimeString(text.c_str()).getGeneralizedTime().c_str()); });
          }},
         {"span",
          [](const std::string& text) {
              return answered([&] { return std::to_string(CDateTimeSpan(text.c_str()).ticks()); });
          }},
         {"span text",
          [](const std::string& ticks) {
              return std::string(CDateTimeSpan::fromTicks(std::stoull(ticks)).getGeneralizedTime().c_str());
          }},
         {"hex", [](const std::string& text) {
              std::string answer;
              for (CBlob blob : {CBlob(), CBlob(1), CBlob(100)}) {
                  blob.readFromHexString(text.c_str());
                  const std::string now = blob.writeToHexString(0).c_str();
                  EXPECT_TRUE(answer.empty() || answer == now) << text << ": depends on the old content";
                  answer = now;
              }
              return answer;
          }}});
}

TEST(DateTimeText, FractionsAreReadToMicroseconds) {
    EXPECT_EQ(CDateTime("20240229120000.9999999Z"), CDateTime(2024, 2, 29, 12, 0, 0, 999, 999));
    const CDateTime noon("20240229120000Z");
    EXPECT_EQ(noon, CDateTime(2024, 2, 29, 12, 0, 0, 0, 0));
    // Below a microsecond there is no fraction to write.
    EXPECT_STREQ(CDateTime::fromTicks(noon.ticks() + 9).getGeneralizedTime().c_str(), "20240229120000Z");
    EXPECT_STREQ(CDateTime(12024, 1, 2, 0, 0, 0, 0, 0).getGeneralizedTime().c_str(), "20240102000000Z");
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

}  // namespace
