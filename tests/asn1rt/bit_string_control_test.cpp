#include "asn1rt/bit_string_control.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "asn1rt/status.h"
#include "tests/asn1rt/runtime_fixture.h"
#include "tests/support/vectors.h"

namespace {

using namespace rttest;

std::string bitsOf(const ASN1CBitStr& string) {
    std::string bits;
    for (std::uint32_t i = 0; i < string.size(); ++i) {
        bits += string.get(i) ? '1' : '0';
    }
    return bits;
}

// A growing string with these bits.
struct Bits {
    explicit Bits(const std::string& bits) : string(std::uint32_t{0}) {
        for (std::uint32_t i = 0; i < bits.size(); ++i) {
            EXPECT_EQ(string.set(i), 0);
            if (bits[i] == '0') {
                EXPECT_EQ(string.clear(i), 0);
            }
        }
    }
    ASN1CBitStr string;
};

TEST(BitStringControl, CutsAndCleansTheCallersArray) {
    std::uint8_t data[] = {0xAB, 0xFF, 0xFF, 0xFF};
    std::uint32_t numbits = 12;
    const ASN1CBitStr string(data, numbits, 20);
    EXPECT_EQ(hexOf(data, 4), "abf000ff");
    EXPECT_EQ(string.length(), 12U);
    ASN1BERDecodeBuffer buffer;
    EXPECT_EQ(ASN1CBitStr(buffer, data, numbits, 20).length(), 12U);
    std::uint32_t tooMany = 99;
    const ASN1CBitStr cut(data, tooMany, 7);
    EXPECT_EQ(tooMany, 7U);
    EXPECT_EQ(hexOf(data, 2), "aaf0");
    EXPECT_EQ(cut.cardinality(), 4U);
}

TEST(BitStringControl, BoundedStringsStayInsideTheirOctets) {
    std::vector<std::uint8_t> data(2, 0);
    std::uint32_t numbits = 0;
    ASN1CBitStr string(data.data(), numbits, 16);
    EXPECT_EQ(string.set(15), 0);
    EXPECT_EQ(numbits, 16U);
    EXPECT_EQ(string.set(16), STATUS_BAD_LENGTH);
    EXPECT_THAT((std::vector<int>{string.set(17), string.clear(17), string.invert(0xFFFFFFFF), string.set(3, 17)}),
                testing::Each(STATUS_BIT_INDEX));
    EXPECT_EQ(string.set(5, 4), STATUS_BIT_RANGE);
    const std::uint8_t operand[] = {1, 1, 1};
    EXPECT_EQ(string.doOr(operand, 24), STATUS_BAD_LENGTH);
    EXPECT_EQ(hexOf(data.data(), 2), "0001");
    numbits = 4000;  // a count that was changed from outside
    EXPECT_EQ(string.cardinality(), 1U);
}

TEST(BitStringControl, UnboundedStringsGrow) {
    Bits bits("");
    EXPECT_EQ(bits.string.set(100), 0);
    EXPECT_EQ(bits.string.size(), 101U);
    EXPECT_EQ(bits.string.invert(20000), 0);
    EXPECT_EQ(bits.string.size(), 20001U);
    EXPECT_EQ(bits.string.cardinality(), 2U);
    EXPECT_EQ(bits.string.set(0xFFFFFFFF), STATUS_BIT_INDEX);
}

TEST(BitStringControl, FollowsTheOctetsOfItsRecord) {
    static const std::uint8_t data[] = {0x80};  // constant: clean octets are not written
    ASN1TDynBitStr record{1, data};
    ASN1CBitStr string(record);
    ASSERT_EQ(string.set(9), 0);
    EXPECT_EQ(record.numbits, 10U);
    EXPECT_NE(record.data, data);
    EXPECT_EQ(hexOf(record.data, 2), "8040");
    EXPECT_EQ(data[0], 0x80);
    // A decoder puts other octets there, with noise after the last bit.
    std::vector<std::uint8_t> decoded = {0xFF, 0xFF};
    record = {9, decoded.data()};
    EXPECT_EQ(bitsOf(string), "111111111");
    EXPECT_EQ(string.length(), 9U);
    ASSERT_EQ(string.set(11), 0);
    EXPECT_EQ(bitsOf(string), "111111111001");
    record = {0, nullptr};
    EXPECT_EQ(string.length(), 0U);
    EXPECT_EQ(string.set(0), 0);
}

TEST(BitStringControl, RangesCrossOctets) {
    Bits bits("");
    ASSERT_EQ(bits.string.set(6, 18), 0);
    EXPECT_EQ(bitsOf(bits.string), "000000111111111111");
    ASSERT_EQ(bits.string.clear(8, 16), 0);
    EXPECT_EQ(bitsOf(bits.string), "000000110000000011");
    ASSERT_EQ(bits.string.invert(7, 20), 0);
    EXPECT_EQ(bitsOf(bits.string), "00000010111111110011");
    ASSERT_EQ(bits.string.set(30, 30), 0);
    EXPECT_EQ(bits.string.size(), 20U);
    std::uint8_t part[2] = {};
    ASSERT_EQ(bits.string.get(5, 15, part, 2), 0);
    EXPECT_EQ(hexOf(part, 2), "5fc0");
    ASSERT_EQ(bits.string.get(18, 29, part, 2), 0);
    EXPECT_EQ(hexOf(part, 2), "c000");
    EXPECT_EQ(bits.string.get(5, 22, part, 2), STATUS_STRING_OVERFLOW);
    EXPECT_EQ(bits.string.get(5, 4, part, 2), STATUS_BIT_RANGE);
    bits.string.clear();
    EXPECT_EQ(bits.string.size(), 0U);
}

TEST(BitStringControl, OctetsAreCopiedUpToTheLastSetBit) {
    const Bits bits("1000000000000000");
    std::uint8_t octets[3] = {9, 9, 9};
    EXPECT_EQ(bits.string.getBytes(octets, 3), 0);
    EXPECT_EQ(hexOf(octets, 3), "800000");
    EXPECT_EQ(bits.string.getBytes(octets, 0), STATUS_BAD_LENGTH);
    const ASN1TDynBitStr view = bits.string;
    EXPECT_EQ(view.numbits, 1U);
    const ASN1TDynBitStr* copy = bits.string;
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy->data, view.data);
    EXPECT_EQ(hexOf(copy->data, 1), "80");
}

// An operand may lie inside the string: growing moves the octets and frees where they were.
TEST(BitStringControl, CombinesAndShiftsAsListed) {
    using Operation = int (ASN1CBitStr::*)(const std::uint8_t*, std::uint32_t);
    using Shift = int (ASN1CBitStr::*)(std::uint32_t);
    testkit::VectorFunctions functions;
    for (const auto& [name, operation] : {std::pair<const char*, Operation>{"and", &ASN1CBitStr::doAnd},
                                          {"or", &ASN1CBitStr::doOr},
                                          {"xor", &ASN1CBitStr::doXor},
                                          {"and not", &ASN1CBitStr::doAndNot}}) {
        functions[name] = [operation = operation](const std::string& before) {
            const std::uint8_t operand[] = {0xCC, 0xFF};  // 11001100 11(1111)
            Bits bits(before);
            EXPECT_EQ((bits.string.*operation)(operand, 10), 0);
            EXPECT_EQ((bits.string.*operation)(nullptr, 10), STATUS_BAD_ARGUMENT);
            return bitsOf(bits.string);
        };
        functions[std::string("own ") + name] = [operation = operation](const std::string& row) {
            Bits bits(row.substr(row.find(':') + 1));
            const std::uint8_t* second = static_cast<ASN1TDynBitStr>(bits.string).data + 1;
            EXPECT_EQ((bits.string.*operation)(second, static_cast<std::uint32_t>(std::stoul(row))), 0);
            return bitsOf(bits.string);
        };
    }
    for (const auto& [name, shift] :
         {std::pair<const char*, Shift>{"left", &ASN1CBitStr::shiftLeft}, {"right", &ASN1CBitStr::shiftRight}}) {
        functions[name] = [shift = shift](const std::string& row) {
            Bits bits(row.substr(row.find(':') + 1));
            EXPECT_EQ((bits.string.*shift)(static_cast<std::uint32_t>(std::stoul(row))), 0);
            return bitsOf(bits.string);
        };
    }
    testkit::expectVectors("asn1rt/bit_string_control.txt", functions);
    const std::uint8_t operand = 0xCC;
    Bits bits("1");
    EXPECT_EQ(bits.string.doOr(static_cast<ASN1TDynBitStr>(bits.string).data, 1), STATUS_BAD_ARGUMENT);
    EXPECT_EQ(bits.string.doAnd(&operand, 0), 0);
    EXPECT_EQ(bits.string.size(), 0U);
}

TEST(BitStringControl, CopiesAreIndependentAndKeepOrSetTheLimit) {
    ASN1CBitStr original(std::uint32_t{10});
    ASSERT_EQ(original.set(3), 0);
    ASN1CBitStr copy(original);
    ASSERT_EQ(copy.set(9), 0);
    EXPECT_EQ(copy.set(60), STATUS_BIT_INDEX);
    EXPECT_EQ(original.size(), 4U);
    ASN1CBitStr fixed(original, false);
    EXPECT_EQ(fixed.set(5), STATUS_BIT_INDEX);
    ASN1CBitStr growing(original, true);
    EXPECT_EQ(growing.set(60), 0);
    EXPECT_EQ(bitsOf(fixed), "0001");
}

}  // namespace
