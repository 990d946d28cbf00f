#include "asn1rt/time_text.h"

#include <cstring>
#include <memory>
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

TEST(TimeText, ReadsItsVectors) {
    testkit::expectVectors(
        "asn1rt/time_text.txt",
        {{"GeneralizedTime", [](const std::string& text) { return parsed(rtParseGeneralizedTime, text); }},
         {"UTCTime", [](const std::string& text) { return parsed(rtParseUTCTime, text); }}});
    Context ctx;
    RtTime time;
    EXPECT_EQ(rtParseGeneralizedTime(ctx, nullptr, &time), STATUS_BAD_DATETIME);
}

TEST(TimeText, TextIsMadeFromFieldsInRange) {
    struct Row {
        RtTime time;
        const char* text;  // null: refused
    };
    const Row rows[] = {
        {{2024, 2, 29, 1, 2, 3, 0, 0, "", 1}, "20240229010203Z"},
        {{7, 2, 28, 1, 2, 3, 3, 30, "5", 0}, "00070228010203.5+0330"},
        {{2024, 2, 29, 1, 2, 3, 0, -30, "", 0}, "20240229010203-0030"},
        {{2024, 2, 29, 1, 2, 3, -12, 0, "12345678901234567890", 0}, "20240229010203.12345678901234567890-1200"},
        {{2023, 2, 29, 1, 2, 3, 0, 0, "", 1}, nullptr},
        {{10000, 2, 28, 1, 2, 3, 0, 0, "", 1}, nullptr},
        {{2024, 2, 29, 1, 2, -1, 0, 0, "", 1}, nullptr},
        {{2024, 2, 29, 1, 2, 3, 13, 0, "", 0}, nullptr},
        {{2024, 2, 29, 1, 2, 3, 0, -60, "", 0}, nullptr},
    };
    for (const Row& row : rows) {
        Context ctx;
        char* copy = nullptr;
        const int status = rtMakeGeneralizedTime(ctx, &row.time, &copy, 0);
        EXPECT_EQ(status, row.text == nullptr ? STATUS_BAD_DATETIME : 0) << describe(row.time);
        if (row.text == nullptr || status != 0) {
            continue;
        }
        EXPECT_STREQ(copy, row.text);
        const auto length = static_cast<std::uint32_t>(std::strlen(row.text));
        auto block = std::make_unique<char[]>(length + 1);
        char* array = block.get();
        EXPECT_EQ(rtMakeGeneralizedTime(ctx, &row.time, &array, length), STATUS_STRING_OVERFLOW);
        EXPECT_EQ(rtMakeGeneralizedTime(ctx, &row.time, &array, length + 1), 0);
        EXPECT_STREQ(array, row.text);
    }
}

}  // namespace
