#include "asn1rt/decode_strings.h"

#include <gtest/gtest.h>

#include <tuple>

#include "tests/asn1rt/runtime_fixture.h"

namespace {

using rttest::hexOf;
using rttest::Input;

TEST(DecodeStrings, OctetStrings) {
    struct Row {
        const char* what;
        const char* hex;
        const char* octets;
        int status;
        std::uint32_t position;
    };
    const Row rows[] = {
        {"primitive", "0403aabbcc ff", "aabbcc", 0, 5},
        {"definite constructed", "2407 0402aabb 0401cc", "aabbcc", 0, 9},
        {"indefinite", "2480 0402aabb 0403ccddee 0000 ff", "aabbccddee", 0, 13},
        {"indefinite without contents", "2480 0400 0000", "", 0, 6},
        {"nested segments, indefinite", "2480 2403 0401aa 0000", nullptr, STATUS_BAD_TAG, 0},
        {"nested segments, definite", "2405 2403 0401aa", nullptr, STATUS_BAD_TAG, 0},
        {"segment with a tag in long form", "2480 1f0401aa 0000", nullptr, STATUS_BAD_TAG, 0},
        {"segment passes the string", "2403 0402aabb", nullptr, STATUS_BAD_LENGTH, 0},
        {"no end-of-contents", "2480 0402aabb", nullptr, STATUS_END_OF_BUFFER, 0},
        {"short form passes the input", "0405aabb", nullptr, STATUS_END_OF_BUFFER, 0},
        {"long form passes the input", "0482ffffaabb", nullptr, STATUS_BAD_LENGTH, 0},
        {"indefinite primitive", "0480aa0000", nullptr, STATUS_BAD_LENGTH, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Input in(row.hex);
        const std::uint8_t* data = nullptr;
        std::uint32_t numocts = 0;
        EXPECT_EQ(xd_octstr(in, &data, &numocts, TAG_EXPLICIT, 0), row.status);
        EXPECT_EQ(in->errInfo.status, row.status);
        if (row.status != 0)
            continue;
        EXPECT_NE(data, nullptr);
        EXPECT_EQ(hexOf(data, numocts), row.octets);
        EXPECT_EQ(in.at(), row.position);
    }
}

TEST(DecodeStrings, ALengthAloneNeverAllocates) {
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

TEST(DecodeStrings, OctetStringsIntoAnArray) {
    struct Row {
        const char* hex;
        std::uint32_t capacity;
        int status;
        int recorded;
    };
    const Row rows[] = {
        {"0403aabbcc", 3, 0, 0},
        {"0403aabbcc", 2, STATUS_STRING_OVERFLOW, STATUS_STRING_OVERFLOW},
        {"24030401aa", 8, STATUS_TAG_MISMATCH, STATUS_TAG_MISMATCH},
        {"0485", 8, 0, STATUS_BAD_LENGTH},  // goes on with the given length after a bad one
    };
    for (const Row& row : rows) {
        Input in(row.hex);
        std::vector<std::uint8_t> array(row.capacity);
        std::uint32_t numocts = row.capacity;
        EXPECT_EQ(xd_octstr_s(in, array.data(), &numocts, TAG_EXPLICIT, 0), row.status) << row.hex;
        EXPECT_EQ(in->errInfo.status, row.recorded) << row.hex;
    }

    // Contents of a constructed form whose header the caller read. The segment headers count against the capacity.
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

TEST(DecodeStrings, BitStrings) {
    struct Row {
        const char* what;
        const char* hex;
        int status;
        std::uint32_t numbits;
        const char* octets;
    };
    const Row rows[] = {
        {"primitive", "030304abcd", 0, 12, "abcd"},  // padding bits stay
        {"no contents", "0300", 0, 0, ""},
        {"unused bits of nothing", "030101", STATUS_BAD_LENGTH, 0, ""},
        {"eight unused bits", "030208ff", STATUS_BAD_VALUE, 0, ""},
        {"one segment", "2380 03020480 0000", 0, 4, "80"},
        {"one empty segment", "2380 030100 0000", 0, 0, ""},
        {"one empty segment with unused bits", "2380 030105 0000", STATUS_BAD_LENGTH, 0, ""},
        // Only the last initial octet is taken; the first one stays in the data.
        {"two segments, indefinite", "2380 030200aa 030204b0 0000", 0, 20, "00aab0"},
        {"two segments, definite", "2308 030200aa 030204b0", 0, 20, "00aab0"},
        {"constructed, definite, one zero octet", "230100", 0, 0, ""},
        {"segment of another type", "2304 040204b0", STATUS_BAD_TAG, 0, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Input in(row.hex);
        const std::uint8_t* data = nullptr;
        std::uint32_t numbits = 0;
        EXPECT_EQ(xd_bitstr(in, &data, &numbits, TAG_EXPLICIT, 0), row.status);
        if (row.status != 0)
            continue;
        EXPECT_EQ(numbits, row.numbits);
        EXPECT_EQ(hexOf(data, (numbits + 7) / 8), row.octets);
        EXPECT_EQ(in.at(), in->buffer.size);
    }
}

TEST(DecodeStrings, BitStringsIntoAnArray) {
    struct Row {
        const char* hex;
        std::uint32_t capacity;
        int status;
        std::uint32_t numbits;
    };
    const Row rows[] = {
        {"030304abcd", 9, 0, 12},  // the capacity counts in whole octets
        {"030304abcd", 8, STATUS_STRING_OVERFLOW, 8},
        {"030200ff", 0, STATUS_STRING_OVERFLOW, 0},
        {"0300", 8, 0, 0},
        {"23040302ff00", 8, STATUS_TAG_MISMATCH, 8},
    };
    for (const Row& row : rows) {
        Input in(row.hex);
        std::vector<std::uint8_t> array((row.capacity + 7) / 8);
        std::uint32_t numbits = row.capacity;
        EXPECT_EQ(xd_bitstr_s(in, array.data(), &numbits, TAG_EXPLICIT, 0), row.status) << row.hex;
        EXPECT_TRUE(row.status != 0 || numbits == row.numbits) << row.hex << " " << numbits;
    }
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

TEST(DecodeStrings, CharacterStrings) {
    const std::tuple<const char*, int, const char*> rows[] = {
        {"16036f6373", 0, "ocs"},
        {"16036f0073", 0, "o"},  // a NUL shortens the text
        {"3680 04026f63 040173 0000", 0, "ocs"},
        {"3680 0400 0000", 0, ""},
        {"3680 16026f63 0000", STATUS_BAD_TAG, nullptr},
        {"0c036f6373", STATUS_TAG_MISMATCH, nullptr},
    };
    for (const auto& [hex, status, expected] : rows) {
        Input in(hex);
        const char* text = nullptr;
        EXPECT_EQ(xd_charstr(in, &text, TAG_EXPLICIT, kTagIa5String, 0), status) << hex;
        if (status != 0)
            continue;
        EXPECT_STREQ(text, expected);
        EXPECT_EQ(in.at(), in->buffer.size);
    }
}

TEST(DecodeStrings, WideStringsComeInHostOrder) {
    struct Row {
        const char* hex;
        std::u16string text;
    };
    for (const Row& row : {Row{"1e05 0041042fff", u"\u0041\u042F"},  // the odd octet is dropped
                           Row{"1e00", u""}, Row{"3e80 0401 00 0401 41 0000", u"A"}, Row{"3e80 0400 0000", u""}}) {
        Input in(row.hex);
        ASN1T16BitCharStr bmp{};
        ASSERT_EQ(xd_16BitCharStr(in, &bmp, TAG_EXPLICIT, kTagBmpString, 0), 0) << row.hex;
        EXPECT_EQ(std::u16string(bmp.data, bmp.data + bmp.nchars), row.text) << row.hex;
        EXPECT_EQ(in.at(), in->buffer.size) << row.hex;
    }
    Input in("1c04 0001f600");
    ASN1T32BitCharStr universal{};
    ASSERT_EQ(xd_32BitCharStr(in, &universal, TAG_EXPLICIT, kTagUniversalString, 0), 0);
    ASSERT_EQ(universal.nchars, 1U);
    EXPECT_EQ(universal.data[0], 0x0001F600U);
}

}  // namespace
