#include "asn1/algorithms/big_integer.h"

#include <gmock/gmock.h>

#include "handles/status.h"
#include "tests/asn1/blobs.h"
#include "tests/support/status_matcher.h"

namespace {

using Orvane::CBlob;
using Orvane::ASN1::CBigInteger;
using namespace testkit;

CBigInteger number(std::string_view hex) {
    const Bytes bytes = fromHex(hex);
    return CBigInteger(bytes.data(), bytes.size());
}

int sign(int value) {
    return (value > 0) - (value < 0);
}

TEST(BigInteger, ComparesAsATwosComplementNumber) {
    const struct {
        const char* left;
        const char* right;
        int expected;
    } rows[] = {
        {"", "", 0},           {"", "00", -1},    {"", "80", 1},     {"7f", "80", 1},   {"01", "ff", 1},
        {"0080", "000080", 0}, {"ff", "ffff", 0}, {"00", "0000", 0}, {"0100", "ff", 1}, {"0100", "02", 1},
        {"80", "81", -1},      {"ff7f", "ff", 1},  // -129 counts as above -1: of negative numbers the longer one does
        {"000001", "02", -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.left) + " against " + row.right);
        EXPECT_EQ(sign(number(row.left).compare(number(row.right))), row.expected);
        EXPECT_EQ(sign(number(row.right).compare(number(row.left))), -row.expected);
        EXPECT_EQ(number(row.left) == number(row.right), row.expected == 0);
        EXPECT_EQ(number(row.left) < number(row.right), row.expected < 0);
    }
}

TEST(BigInteger, CarriesNoFurtherThanTheLowestIndex) {
    const struct {
        const char* before;
        int lowIndex;
        const char* after;
    } rows[] = {
        {"ffff", 0, "0000"}, {"00ff", 0, "0100"},  {"00ff", 1, "0000"}, {"00ffff", 1, "000000"},
        {"0001", 0, "0002"}, {"00ff", -3, "0100"}, {"00ff", 2, "00ff"}, {"", 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.before) + " to index " + std::to_string(row.lowIndex));
        CBigInteger value = number(row.before);
        value.increment(row.lowIndex);
        EXPECT_EQ(hexOf(value), row.after);
    }
    CBigInteger value = number("00ff");
    EXPECT_EQ(hexOf(value++), "00ff");
    EXPECT_EQ(hexOf(++value), "0101");
}

TEST(BigInteger, AddsNumbersOfEqualLengthAndAnswersTheCarry) {
    CBigInteger sum = number("01ff");
    EXPECT_EQ(sum.add(number("0002")), 0U);
    EXPECT_EQ(hexOf(sum), "0201");
    EXPECT_EQ(sum.add(number("fdff")), 1U);
    EXPECT_EQ(hexOf(sum), "0000");
    EXPECT_THAT(thrownStatus([&] { sum.add(number("01")); }), IsStatus(status::kInvalidArgument));
}

TEST(BigInteger, AbsOnlyClearsTheSignBit) {
    EXPECT_EQ(hexOf(number("8001").abs()), "0001");
    EXPECT_EQ(hexOf(CBigInteger().abs()), "");
}

TEST(BigInteger, ReadsTheTextFormOfTheRuntime) {
    const struct {
        const char* text;
        const char* expected;  // null: refused
    } rows[] = {
        {"0x0AB", "00ab"}, {"0x080", "0080"}, {"0x7f", "7f"},    {"0x0", "00"}, {"0xABC", "ab"},  // last digit dropped
        {"0x", nullptr},   {"7f", nullptr},   {"0X7f", nullptr}, {"", nullptr}, {nullptr, nullptr}, {"0xzz", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text != nullptr ? row.text : "null");
        CBigInteger value = number("55");
        const std::int32_t thrown = thrownStatus([&] { StringToBigInteger(row.text, value); });
        EXPECT_THAT(thrown, IsStatus(row.expected != nullptr ? status::kOk : status::kAsn1Error));
        EXPECT_EQ(hexOf(value), row.expected != nullptr ? row.expected : "55");
    }
    CBlob text;
    BigIntegerToString(number("00ab"), text);
    EXPECT_STREQ(reinterpret_cast<const char*>(text.pbData()), "0x00AB");
    EXPECT_EQ(text.cbData(), 7U);
}

TEST(BigInteger, WeighsTheBytesOfAStoredNumberByEleven) {
    EXPECT_EQ(Orvane::ASN1::ASN1BigIntegerToDWORD("0x0102"), 13U);
    EXPECT_THAT(thrownStatus([] { Orvane::ASN1::ASN1BigIntegerToDWORD("0x0102030405"); }),
                IsStatus(status::kInvalidArgument));
}

}  // namespace
