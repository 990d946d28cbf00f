#include "asn1rt/time_text.h"

#include <cstring>
#include <memory>
#include <sstream>
#include <string>

#include "tests/asn1rt/runtime_fixture.h"
#include "tests/support/vectors.h"

namespace {

using namespace rttest;

// All fields in one line: date, time, fraction, offset in minutes, Z.
std::string describe(const RtTime& t) {
    char line[96];
    std::snprintf(line, sizeof line, "%d-%d-%d %d:%d:%d f%s %d,%d%s", t.year, t.month, t.day, t.hour, t.minute,
                  t.second, t.fraction, t.diffHour, t.diffMin, t.utcFlag != 0 ? " Z" : "");
    return line;
}

template <typename Parser>
std::string parsed(Parser parser, const std::string& text) {
    Context ctx;
    RtTime time;
    const int status = parser(ctx, exactly(text).get(), &time);
    EXPECT_EQ(ctx->errInfo.status, status);
    EXPECT_TRUE(status == 0 || status == STATUS_BAD_DATETIME);
    return status == 0 ? describe(time) : "bad";
}

// The text of "year month day hour minute second diffHour diffMin Z fraction", into the heap and into arrays.
std::string made(const std::string& fields) {
    std::istringstream in(fields);
    RtTime time{};
    int isUtc = 0;
    in >> time.year >> time.month >> time.day >> time.hour >> time.minute >> time.second >> time.diffHour >>
        time.diffMin >> isUtc >> time.fraction;
    time.utcFlag = isUtc != 0 ? 1 : 0;
    Context ctx;
    char* copy = nullptr;
    const int status = rtMakeGeneralizedTime(ctx, &time, &copy, 0);
    if (status != 0) {
        EXPECT_EQ(status, STATUS_BAD_DATETIME);
        return "bad";
    }
    const auto length = static_cast<std::uint32_t>(std::strlen(copy));
    const std::unique_ptr<char[]> block = exactly(copy);
    char* array = block.get();
    EXPECT_EQ(rtMakeGeneralizedTime(ctx, &time, &array, length), STATUS_STRING_OVERFLOW);
    *array = '\0';
    EXPECT_EQ(rtMakeGeneralizedTime(ctx, &time, &array, length + 1), 0);
    EXPECT_STREQ(array, copy);
    return copy;
}

TEST(TimeText, ReadsAndWritesItsVectors) {
    testkit::expectVectors(
        "asn1rt/time_text.txt",
        {{"GeneralizedTime", [](const std::string& text) { return parsed(rtParseGeneralizedTime, text); }},
         {"make", made},
         {"UTCTime", [](const std::string& text) { return parsed(rtParseUTCTime, text); }}});
    Context ctx;
    RtTime time;
    EXPECT_EQ(rtParseGeneralizedTime(ctx, nullptr, &time), STATUS_BAD_DATETIME);
}

}  // namespace
