#include "asn1rt/time_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "tests/asn1rt/runtime_fixture.h"

namespace {

using rttest::Context;

// All fields in one line: date, time, fraction, offset in minutes, Z.
std::string describe(const RtTime& t) {
    char line[96];
    std::snprintf(line, sizeof line, "%d-%d-%d %d:%d:%d f%s %d,%d%s", t.year, t.month, t.day, t.hour, t.minute,
                  t.second, t.fraction, t.diffHour, t.diffMin, t.utcFlag != 0 ? " Z" : "");
    return line;
}

template <typename Parser>
std::string parsed(Parser parser, const std::string& text) {
    // Exactly as long as the text, so that AddressSanitizer sees any look behind its NUL.
    auto block = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(block.get(), text.c_str(), text.size() + 1);
    Context ctx;
    RtTime time;
    const int status = parser(ctx, block.get(), &time);
    EXPECT_EQ(ctx->errInfo.status, status);
    EXPECT_TRUE(status == 0 || status == STATUS_BAD_DATETIME);
    return status == 0 ? describe(time) : "bad";
}

TEST(TimeText, GeneralizedTimeIsReadLeniently) {
    const std::pair<const char*, const char*> rows[] = {
        {"20240229120000Z", "2024-2-29 12:0:0 f 0,0 Z"},
        {"20260229120000Z", "bad"},
        {"19000229120000Z", "bad"},
        {"202402291259Z", "2024-2-29 12:59:0 f 0,0 Z"},
        {"20240229120000.500Z", "2024-2-29 12:0:0 f500 0,0 Z"},
        {"20240229120000,05Z", "2024-2-29 12:0:0 f5 0,0 Z"},
        {"20240229120000.Z", "bad"},
        {"202402291200.5Z", "bad"},
        {"20240229120000.123456789012345678905Z", "2024-2-29 12:0:0 f12345678901234567890 0,0"},
        {"20240229120000", "2024-2-29 12:0:0 f 0,0"},
        {"20240229120000Zx", "bad"},
        {"20240229120000x", "2024-2-29 12:0:0 f 0,0"},
        {"20240229120000+0330", "2024-2-29 12:0:0 f 3,30"},
        {"20240229120000-0030?", "2024-2-29 12:0:0 f 0,-30"},
        {"20240229120000+13", "bad"},
        {"20240229120000+0060", "bad"},
        {"20240229120000+", "2024-2-29 12:0:0 f 0,0"},
        {"20240229240000Z", "bad"},
        {"20241329120000Z", "bad"},
        {"20240200120000Z", "bad"},
        {"20240229", "bad"},
        {"20240229126000Z", "bad"},
        {"20240229120060Z", "bad"},
        {"2024 229", "bad"},
        {"-20240229120000Z", "bad"},
        {"", "bad"},
    };
    for (const auto& [text, fields] : rows)
        EXPECT_EQ(parsed(rtParseGeneralizedTime, text), fields) << text;
    Context ctx;
    RtTime time;
    EXPECT_EQ(rtParseGeneralizedTime(ctx, nullptr, &time), STATUS_BAD_DATETIME);
}

TEST(TimeText, UtcTimeNeedsMinutesAndItsEnding) {
    const std::pair<const char*, const char*> rows[] = {
        {"491231235959Z", "2049-12-31 23:59:59 f 0,0 Z"},
        {"500101000000Z", "1950-1-1 0:0:0 f 0,0 Z"},
        {"491231235959", "bad"},
        {"491231235959-0130", "2049-12-31 23:59:59 f -1,-30"},
        {"4912312359+1200", "2049-12-31 23:59:0 f 12,0"},
        {"491231235959+13", "bad"},
        {"491231235959+01300", "bad"},
        {"491231235959Zx", "bad"},
        {"010229000000Z", "bad"},
    };
    for (const auto& [text, fields] : rows)
        EXPECT_EQ(parsed(rtParseUTCTime, text), fields) << text;
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
        if (row.text == nullptr || status != 0)
            continue;
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
