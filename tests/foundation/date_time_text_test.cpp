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
using Orvane::DateAddA;
using Orvane::DateAddW;
using Orvane::fromXsdDateTimeString;
using Orvane::GeneralizedTimeToTm;
using Orvane::toXsdDateTimeString;
using testkit::answered;

std::string added(const std::string& row) {
    const std::string unit = row.substr(0, row.find(':'));
    const int count = std::stoi(row.substr(row.find(':') + 1));
    const CDateTime from(row.substr(row.rfind(':') + 1).c_str());
    const std::string answer =
        answered([&] { return std::string(DateAddA(unit.c_str(), count, from).getGeneralizedTime().c_str()); });
    const std::wstring wide(unit.begin(), unit.end());
    EXPECT_EQ(answered([&] { return std::string(DateAddW(wide.c_str(), count, from).getGeneralizedTime().c_str()); }),
              answer);
    return answer;
}

std::string shown(const std::string& text) {
    const CDateTime time(text.c_str());
    const std::string narrow = time.tostring().c_str();
    EXPECT_EQ(std::wstring(time.towstring().c_str()), std::wstring(narrow.begin(), narrow.end()));
    EXPECT_EQ(time.getGeneralizedTimeTrimMicroseconds().c_str(), narrow.substr(0, narrow.find('.', 6)));
    return narrow + ", " + toXsdDateTimeString(time).c_str();
}

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
         {"add", added},
         {"show", shown},
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

}  // namespace
