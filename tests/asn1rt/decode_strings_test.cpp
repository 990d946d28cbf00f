#include "asn1rt/decode_strings.h"

#include <vector>

#include "tests/asn1rt/runtime_fixture.h"
#include "tests/support/vectors.h"

namespace {

using namespace rttest;

template <class Text>
std::string readWide(int (*reader)(ASN1CTXT*, Text*, ASN1TagType, ASN1TAG, int), ASN1TAG tag, const std::string& hex) {
    Input in(hex);
    Text text{};
    const int status = reader(in, &text, TAG_EXPLICIT, tag, 0);
    std::string characters;
    for (std::uint32_t i = 0; i < text.nchars; ++i) {
        char number[16];
        std::snprintf(number, sizeof number, i == 0 ? "%04x" : " %04x", static_cast<unsigned>(text.data[i]));
        characters += number;
    }
    return reported(in, status, characters);
}

template <class Reader>
std::string readString(const std::string& hex, std::uint32_t bitsPerUnit, Reader reader) {
    Input in(hex);
    const std::uint8_t* data = nullptr;
    std::uint32_t count = 0;
    const int status = reader(in, &data, &count, TAG_EXPLICIT, 0);
    EXPECT_TRUE(status != 0 || data != nullptr || bitsPerUnit == 1) << hex;
    const std::string octets = status == 0 ? hexOf(data, (count * bitsPerUnit + 7) / 8) : "";
    return reported(in, status, bitsPerUnit == 1 ? std::to_string(count) + ":" + octets : octets);
}

// "12:0403aabbcc" is an array of 12 octets or bits, and the input.
template <class Reader>
std::string readIntoArray(const std::string& row, std::uint32_t bitsPerUnit, Reader reader) {
    auto count = static_cast<std::uint32_t>(std::stoul(row));
    std::vector<std::uint8_t> array((count * bitsPerUnit + 7) / 8);
    Input in(row.substr(row.find(':') + 1));
    const int status = reader(in, array.data(), &count, TAG_EXPLICIT, 0);
    return reported(in, status, std::to_string(count));
}

TEST(DecodeStrings, ReadsItsVectors) {
    testkit::expectVectors(
        "asn1rt/decode_strings.txt",
        {{"octets", [](const std::string& hex) { return readString(hex, 8, xd_octstr); }},
         {"bits", [](const std::string& hex) { return readString(hex, 1, xd_bitstr); }},
         {"octet array", [](const std::string& row) { return readIntoArray(row, 8, xd_octstr_s); }},
         {"bit array", [](const std::string& row) { return readIntoArray(row, 1, xd_bitstr_s); }},
         {"text",
          [](const std::string& hex) {
              Input in(hex);
              const char* text = nullptr;
              const int status = xd_charstr(in, &text, TAG_EXPLICIT, kTagIa5String, 0);
              return reported(in, status, text != nullptr ? text : "null");
          }},
         {"16 bits", [](const std::string& hex) { return readWide(xd_16BitCharStr, kTagBmpString, hex); }},
         {"32 bits", [](const std::string& hex) { return readWide(xd_32BitCharStr, kTagUniversalString, hex); }}});
}

TEST(DecodeStrings, ALengthNeverAllocates) {
    // Without length checks a header may claim anything, and the caller may too.
    for (const char* hex : {"0484 7fffff00 aa", "2484 7fffff00 0401aa", "0384 7fffff00 00aa", "2384 7fffff00 030200aa",
                            "2484 ffffffff"}) {
        Input in(hex);
        rtCtxtSetFlag(in, CTX_FLAG_NO_LENGTH_CHECK);
        const std::uint8_t* data = nullptr;
        std::uint32_t count = 0;
        const bool octets = (in->buffer.data[0] & 7) == 4;
        const int status =
            octets ? xd_octstr(in, &data, &count, TAG_EXPLICIT, 0) : xd_bitstr(in, &data, &count, TAG_EXPLICIT, 0);
        EXPECT_TRUE(status == STATUS_END_OF_BUFFER || status == STATUS_BAD_LENGTH || count == 0)
            << hex << " " << status;
    }
}

TEST(DecodeStrings, SegmentHeadersCountAgainstTheCapacityOfAnArray) {
    // Contents of a constructed form whose header the caller read.
    Input segments("0402aabb0401cc");
    rtCtxtSetFlag(segments, CTX_FLAG_CONSTRUCTED);
    std::uint8_t array[8];
    std::uint32_t numocts = 6;
    EXPECT_EQ(xd_octstr_s(segments, array, &numocts, TAG_IMPLICIT, 7), STATUS_STRING_OVERFLOW);
    numocts = 7;
    EXPECT_EQ(xd_octstr_s(segments, array, &numocts, TAG_IMPLICIT, 7), 0);
    EXPECT_EQ(hexOf(array, numocts), "aabbcc");
    EXPECT_EQ(xd_octstr_s(segments, array, &numocts, TAG_IMPLICIT, LEN_INDEFINITE), STATUS_BAD_LENGTH);
}

TEST(DecodeStrings, ZeroCopyPointsIntoTheInput) {
    Input in("0402aabb 030205e0 0302 08ff");
    rtCtxtSetFlag(in, CTX_FLAG_ZERO_COPY);
    const std::uint8_t* data = nullptr;
    std::uint32_t count = 0;
    ASSERT_EQ(xd_octstr(in, &data, &count, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(data, in->buffer.data + 2);
    ASSERT_EQ(xd_bitstr(in, &data, &count, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(data, in->buffer.data + 7);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(xd_bitstr(in, &data, &count, TAG_EXPLICIT, 0), STATUS_BAD_VALUE);
    EXPECT_EQ(data, nullptr);
}

}  // namespace
