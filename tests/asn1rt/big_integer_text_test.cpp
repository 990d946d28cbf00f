#include "asn1rt/big_integer_text.h"

#include <string>
#include <vector>

#include "tests/asn1rt/runtime_fixture.h"
#include "tests/support/vectors.h"

namespace {

using namespace rttest;

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
        if (rtBigIntToString(ctx, &big, radix, wide.data(), static_cast<std::int32_t>(wide.size())) != 0) {
            return "?";
        }
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

TEST(BigIntegerText, AnswersItsVectors) {
    testkit::expectVectors("asn1rt/big_integer_text.txt",
                           {{"read",
                             [](const std::string& row) {
                                 std::string answer;
                                 for (const std::size_t area : {0U, 1U, 64U}) {
                                     Number number(area);
                                     const int status = number.read(row.substr(row.find(':') + 1), std::stoi(row));
                                     EXPECT_EQ(number.ctx->errInfo.status, status) << row;
                                     const std::string value =
                                         std::to_string(number.big.sign) + " " + number.magnitude();
                                     EXPECT_TRUE(status == 0 || value == "0 ") << row;
                                     const std::string now = status == 0 ? value : statusName(status);
                                     EXPECT_TRUE(answer.empty() || answer == now) << row << ": depends on the area";
                                     answer = now;
                                 }
                                 return answer;
                             }},
                            {"octets",
                             [](const std::string& text) {
                                 Number number(4);
                                 EXPECT_EQ(number.read(text, 0), 0);
                                 return number.octets();
                             }},
                            {"write",
                             [](const std::string& row) {
                                 Number number;
                                 EXPECT_EQ(number.read(row.substr(row.find(':') + 1), 0), 0);
                                 return number.text(std::stoi(row));
                             }},
                            {"compare", [](const std::string& row) {
                                 Context ctx;
                                 const std::string left = row.substr(0, row.find(','));
                                 const std::string right = row.substr(row.find(',') + 1);
                                 const int order = rtBigIntStrCompare(ctx, left.c_str(), right.c_str());
                                 EXPECT_EQ(rtBigIntStrCompare(ctx, right.c_str(), left.c_str()), -order) << row;
                                 return std::to_string(order);
                             }}});
}

TEST(BigIntegerText, RefusesOtherRadices) {
    Number five;
    ASSERT_EQ(five.read("5", 0), 0);
    char text[9];
    EXPECT_EQ(rtBigIntToString(five.ctx, &five.big, 3, text, sizeof text), STATUS_BAD_ARGUMENT);
    EXPECT_EQ(rtBigIntDigitsNum(&five.big, 30), STATUS_BAD_ARGUMENT);
}

TEST(BigIntegerText, LimitsTheSizeOnlyWhereConversionIsQuadratic) {
    Number number;
    EXPECT_EQ(number.read(std::string(1'000'000, '7'), 10), STATUS_TOO_BIG);
    ASSERT_EQ(number.read("0x" + std::string(2'000'000, '7'), 0), 0);
    EXPECT_EQ(number.big.numocts, 1'000'000);
    std::vector<char> text(4'000'000);
    EXPECT_EQ(rtBigIntToString(number.ctx, &number.big, 10, text.data(), 4'000'000), STATUS_TOO_BIG);
    EXPECT_EQ(rtBigIntToString(number.ctx, &number.big, 16, text.data(), 4'000'000), 0);
    const std::string big = "0x7" + std::string(999, '0');
    EXPECT_EQ(rtBigIntStrCompare(number.ctx, (big + "1").c_str(), (big + "0").c_str()), 1);
}

}  // namespace
