#include "asn1rt/big_integer_text.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/asn1rt/runtime_fixture.h"

namespace {

using rttest::Context;
using rttest::hexOf;

// A number that frees itself; its magnitude begins in an area of `areaSize` octets.
class Number {
public:
    explicit Number(std::size_t areaSize = 0) : area_(areaSize) {
        rtBigIntInit(&big);
        big.mag = area_.empty() ? nullptr : area_.data();
        big.allocated = static_cast<std::int32_t>(areaSize);
    }
    ~Number() { rtBigIntFree(ctx, &big); }
    Number(const Number&) = delete;
    Number& operator=(const Number&) = delete;

    int read(const std::string& text, int radix) { return rtBigIntSetStr(ctx, &big, text.c_str(), radix); }
    std::string magnitude() const { return hexOf(big.mag, static_cast<std::size_t>(big.numocts)); }
    std::string octets() {
        std::vector<std::uint8_t> data(static_cast<std::size_t>(rtBigIntGetDataLen(&big)));
        const auto size = static_cast<std::int32_t>(data.size());
        EXPECT_EQ(rtBigIntGetData(ctx, &big, data.data(), size - 1), STATUS_STRING_OVERFLOW);
        EXPECT_EQ(rtBigIntGetData(ctx, &big, data.data(), size), size);
        return hexOf(data.data(), data.size());
    }
    // The text, written into a block of exactly the octets it needs.
    std::string text(int radix) {
        std::vector<char> wide(static_cast<std::size_t>(rtBigIntDigitsNum(&big, radix)) + 16);
        if (rtBigIntToString(ctx, &big, radix, wide.data(), static_cast<std::int32_t>(wide.size())) != 0)
            return "?";
        const std::string result = wide.data();
        std::vector<char> exact(result.size() + 1);
        const auto size = static_cast<std::int32_t>(exact.size());
        EXPECT_EQ(rtBigIntToString(ctx, &big, radix, exact.data(), size), 0) << result;
        EXPECT_EQ(result, exact.data());
        EXPECT_EQ(rtBigIntToString(ctx, &big, radix, exact.data(), size - 1), STATUS_STRING_OVERFLOW) << result;
        return result;
    }

    Context ctx;
    RtBigInteger big;

private:
    std::vector<std::uint8_t> area_;
};

TEST(BigIntegerText, TextBecomesSignAndMagnitude) {
    struct Row {
        const char* text;
        int radix;
        int sign;
        const char* magnitude;
    };
    const Row rows[] = {
        {"0xFF", 0, -1, "01"},
        {"0x00FF", 0, 1, "ff"},
        {"0x0", 0, 1, ""},        // zeros alone keep the sign
        {"0xFFF", 0, 1, "0fff"},  // an odd digit fills the first octet partly, so its top bit is clear
        {"FF7F", 16, -1, "81"},
        {"0b10000000", 0, -1, "80"},
        {"377", 8, 1, "ff"},
        {"-12", 8, -1, "0a"},
        {"-0", 0, 0, ""},
        {"-000255", 0, -1, "ff"},
        {"10000000000000000000000000000000000000000", 0, 1, "1d6329f1c35ca4bfabb9f5610000000000"},
        {"1 2+3", 10, 1, "27db"},  // each pair of digits is read leniently: 01 02 03
    };
    for (const Row& row : rows) {
        for (const std::size_t area : {0U, 1U, 64U}) {
            Number number(area);
            ASSERT_EQ(number.read(row.text, row.radix), 0) << row.text;
            EXPECT_EQ(number.big.sign, row.sign) << row.text;
            EXPECT_EQ(number.magnitude(), row.magnitude) << row.text;
        }
    }
}

TEST(BigIntegerText, BadTextLeavesZeroAndEntersTheStatus) {
    const std::tuple<const char*, int, int> rows[] = {
        {"12", 7, STATUS_BAD_ARGUMENT}, {"  ", 0, STATUS_BAD_VALUE},      {"0x", 0, STATUS_BAD_VALUE},
        {"-", 10, STATUS_BAD_VALUE},    {"1234a6", 10, STATUS_BAD_VALUE}, {"8", 8, STATUS_BAD_VALUE},
        {"0b12", 0, STATUS_BAD_VALUE},  {"0xFG", 0, STATUS_BAD_VALUE},    {"-0x1", 0, STATUS_BAD_VALUE},
    };
    for (const auto& [text, radix, status] : rows) {
        Number number(8);
        EXPECT_EQ(number.read(text, radix), status) << text;
        EXPECT_EQ(number.ctx->errInfo.status, status) << text;
        EXPECT_EQ(number.big.sign, 0) << text;
        EXPECT_EQ(number.big.numocts, 0) << text;
    }
}

TEST(BigIntegerText, DataAreMinimalTwosComplement) {
    const std::pair<const char*, const char*> rows[] = {
        {"0", "00"},          {"0x0", "00"},        {"127", "7f"},          {"128", "0080"},
        {"255", "00ff"},      {"256", "0100"},      {"-1", "ff"},           {"-128", "80"},
        {"-129", "ff7f"},     {"-255", "ff01"},     {"-256", "ff00"},       {"-32768", "8000"},
        {"-32769", "ff7fff"}, {"-65536", "ff0000"}, {"-8388609", "7fffff"},  // the top octet is judged by its neighbour
                                                                             // alone
    };
    for (const auto& [text, octets] : rows) {
        Number number(4);
        ASSERT_EQ(number.read(text, 0), 0);
        EXPECT_EQ(number.octets(), octets) << text;
    }
}

TEST(BigIntegerText, TextIsWrittenInEachRadix) {
    const std::tuple<const char*, int, const char*> rows[] = {
        {"0", 16, "00"},
        {"0", 10, "?"},
        {"128", 16, "0080"},
        {"5", 2, "00000101"},
        {"-129", 8, "177577"},
        {"-1", 8, "377"},
        {"-5", 10, "-5"},
        {"4294967296", 10, "4294967296"},
        {"1000000000000000000", 10, "1000000000000000000"},
        {"1073741824", 8, "10000000000"},
    };
    Number five;
    ASSERT_EQ(five.read("5", 0), 0);
    char text[9];
    EXPECT_EQ(rtBigIntToString(five.ctx, &five.big, 3, text, sizeof text), STATUS_BAD_ARGUMENT);
    EXPECT_EQ(rtBigIntDigitsNum(&five.big, 30), STATUS_BAD_ARGUMENT);
    for (const auto& [text, radix, written] : rows) {
        Number number;
        ASSERT_EQ(number.read(text, 0), 0);
        EXPECT_EQ(number.text(radix), written) << text << " in " << radix;
    }
}

TEST(BigIntegerText, LongNumbersSurviveEveryRadix) {
    const std::string hex =
        "00ecad4a268d116ece1738f7d93d9c172411e20b8f6b0d549b6f03675a1600a35a099950d836f675cc81e74ef5e8e25d940e"
        "d904759531985d5d9dc9f81818e811892f902bd23f0824128b2f330c5c7fd0a6a3a4506513270e269e0d37f2a74de452e6b4"
        "38";
    const std::string decimal =
        "6164707303910638874494947538687451755690069719578964650808427905819908723937345545536743359289716109"
        "9506377140207306896080907415338521266605711972440357427078391450756374814876806548155092525564339207"
        "87825427053294669585325307320619548193848";
    const std::string octal =
        "3545324504643210556634134707575447547013444043610134366541525115557006635320540024326404631241540667"
        "5472714403635167536434227312016662021654523063027256635623740300616402142227620127510770202202242627"
        "4630305617764123243510501450462341611517015157712472336212271532070";
    Number number;
    ASSERT_EQ(number.read("0x" + hex, 0), 0);
    EXPECT_EQ(number.text(10), decimal);
    EXPECT_EQ(number.text(8), octal);
    EXPECT_EQ(number.text(16), hex);
    for (const auto& [text, radix] : {std::pair{decimal, 10}, std::pair{octal, 8}}) {
        ASSERT_EQ(number.read(text, radix), 0);
        EXPECT_EQ("00" + number.magnitude(), hex);
    }
}

TEST(BigIntegerText, HugeNumbersAreRefusedWhereConversionIsQuadraticAndReadWhereNot) {
    Number number;
    EXPECT_EQ(number.read(std::string(1'000'000, '7'), 10), STATUS_TOO_BIG);
    ASSERT_EQ(number.read("0x" + std::string(2'000'000, '7'), 0), 0);
    EXPECT_EQ(number.big.numocts, 1'000'000);
    std::vector<char> text(4'000'000);
    EXPECT_EQ(rtBigIntToString(number.ctx, &number.big, 10, text.data(), 4'000'000), STATUS_TOO_BIG);
    EXPECT_EQ(rtBigIntToString(number.ctx, &number.big, 16, text.data(), 4'000'000), 0);
}

TEST(BigIntegerText, ComparisonFollowsSignThenMagnitude) {
    const std::tuple<const char*, const char*, int> rows[] = {
        {"5", "0x05", 0},     {"-1", "0xFF", 0}, {"5", "6", -1},   {"256", "255", 1},
        {"-256", "-255", -1}, {"-1", "1", -1},   {"junk", "0", 0}, {"0", "0x0", -1},  // a hexadecimal zero has sign 1
    };
    for (const auto& [a, b, order] : rows) {
        Context ctx;
        EXPECT_EQ(rtBigIntStrCompare(ctx, a, b), order) << a << " and " << b;
        EXPECT_EQ(rtBigIntStrCompare(ctx, b, a), -order) << b << " and " << a;
    }
    Context ctx;
    const std::string big = "0x7" + std::string(999, '0');
    EXPECT_EQ(rtBigIntStrCompare(ctx, (big + "1").c_str(), (big + "0").c_str()), 1);
}

}  // namespace
