#include "asn1/algorithms/big_integer.h"

#include "tests/asn1/value_fixture.h"

namespace {

using Orvane::CBlob;
using Orvane::ASN1::CBigInteger;
using namespace testkit;

CBigInteger number(std::string_view hex) {
    const Bytes bytes = fromHex(hex);
    return CBigInteger(bytes.data(), bytes.size());
}

TEST(BigInteger, IncrementsBeforeOrAfterAndTakesAbsoluteValues) {
    CBigInteger value = number("00ff");
    EXPECT_EQ(hexOf(value++), "00ff");
    EXPECT_EQ(hexOf(++value), "0101");
    EXPECT_EQ(hexOf(number("8001").abs()), "0001") << "only clears the sign bit";
    EXPECT_EQ(hexOf(CBigInteger().abs()), "");
}

TEST(BigInteger, AddsNumbersOfEqualLengthAndReturnsTheCarry) {
    CBigInteger sum = number("01ff");
    EXPECT_EQ(sum.add(number("0002")), 0U);
    EXPECT_EQ(hexOf(sum), "0201");
    EXPECT_EQ(sum.add(number("fdff")), 1U);
    EXPECT_EQ(hexOf(sum), "0000");
    EXPECT_THAT(thrownStatus([&] { sum.add(number("01")); }), IsStatus(status::kInvalidArgument));
}

TEST(BigInteger, WritesTheTextFormOfTheRuntime) {
    CBlob text;
    BigIntegerToString(number("00ab"), text);
    EXPECT_STREQ(reinterpret_cast<const char*>(text.pbData()), "0x00AB");
    EXPECT_EQ(text.cbData(), 7U);
    CBigInteger value;
    EXPECT_THAT(thrownStatus([&] { StringToBigInteger(nullptr, value); }), IsStatus(status::kAsn1Error));
}

TEST(BigInteger, RandomNumbersHaveTheSizeThatWasAskedFor) {
    const CBigInteger first = Orvane::ASN1::MakeRandomBigInteger(0, 20);
    EXPECT_EQ(first.cbData(), 20U);
    EXPECT_FALSE(first == Orvane::ASN1::MakeRandomBigInteger(0, 20));
}

TEST(BigInteger, WeighsTheBytesOfAStoredNumberByEleven) {
    EXPECT_EQ(Orvane::ASN1::ASN1BigIntegerToDWORD("0x0102"), 13U);
    EXPECT_THAT(thrownStatus([] { Orvane::ASN1::ASN1BigIntegerToDWORD("0x0102030405"); }),
                IsStatus(status::kInvalidArgument));
}

}  // namespace
