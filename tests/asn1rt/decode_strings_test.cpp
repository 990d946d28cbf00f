#include "asn1rt/decode_strings.h"

#include <gtest/gtest.h>

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
        {"empty", "0400", "", 0, 2},
        {"definite constructed", "2407 0402aabb 0401cc", "aabbcc", 0, 9},
        {"indefinite", "2480 0402aabb 0403ccddee 0000 ff", "aabbccddee", 0, 13},
        {"indefinite without contents", "2480 0400 0000", "", 0, 6},
        {"nested segments, indefinite", "2480 2403 0401aa 0000", nullptr, STATUS_BAD_TAG, 0},
        {"nested segments, definite", "2405 2403 0401aa", nullptr, STATUS_BAD_TAG, 0},
        {"segment with a tag in long form", "2480 1f0401aa 0000", nullptr, STATUS_BAD_TAG, 0},
        {"segment passes the string", "2403 0402aabb", nullptr, STATUS_BAD_LENGTH, 0},
        {"string passes the input", "2409 0402aabb", nullptr, STATUS_BAD_LENGTH, 0},
        {"no end-of-contents", "2480 0402aabb", nullptr, STATUS_END_OF_BUFFER, 0},
        {"short form passes the input", "0405aabb", nullptr, STATUS_END_OF_BUFFER, 0},
        {"long form passes the input", "0482ffffaabb", nullptr, STATUS_BAD_LENGTH, 0},
        {"indefinite primitive", "0480aa0000", nullptr, STATUS_BAD_LENGTH, 0},
        {"another tag", "0303aabbcc", nullptr, STATUS_TAG_MISMATCH, 0},
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
    const char* rows[] = {"0484 7fffff00 aa", "2484 7fffff00 0401aa", "0384 7fffff00 00aa", "2384 7fffff00 030200aa"};
    for (const char* hex : rows) {
        Input in(hex);
        rtCtxtSetFlag(in, CTX_FLAG_NO_LENGTH_CHECK);
        const std::uint8_t* data = nullptr;
        std::uint32_t count = 0;
        const bool octets = (in->buffer.data[0] & 7) == 4;
        const int status =
            octets ? xd_octstr(in, &data, &count, TAG_EXPLICIT, 0) : xd_bitstr(in, &data, &count, TAG_EXPLICIT, 0);
        EXPECT_TRUE(status == STATUS_END_OF_BUFFER || status == STATUS_BAD_LENGTH) << hex << " " << status;
    }
    Input in("2484ffffffff");
    rtCtxtSetFlag(in, CTX_FLAG_NO_LENGTH_CHECK);
    const std::uint8_t* data = in->buffer.data;
    std::uint32_t count = 5;
    EXPECT_EQ(xd_octstr(in, &data, &count, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST(DecodeStrings, OctetStringsIntoAnArray) {
    struct Row {
        const char* what;
        const char* hex;
        std::uint32_t capacity;
        int status;
        const char* octets;
    };
    const Row rows[] = {
        {"fits", "0403aabbcc", 3, 0, "aabbcc"},
        {"too small", "0403aabbcc", 2, STATUS_STRING_OVERFLOW, nullptr},
        {"constructed is refused with its tag", "24030401aa", 8, STATUS_TAG_MISMATCH, nullptr},
        {"goes on with the given length after a bad one", "0485", 8, 0, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Input in(row.hex);
        std::vector<std::uint8_t> array(row.capacity);
        std::uint32_t numocts = row.capacity;
        EXPECT_EQ(xd_octstr_s(in, array.data(), &numocts, TAG_EXPLICIT, 0), row.status);
        if (row.status == 0) {
            EXPECT_EQ(hexOf(array.data(), numocts), row.octets);
        }
    }
    Input bad("0485");
    std::uint8_t array[8];
    std::uint32_t numocts = sizeof array;
    EXPECT_EQ(xd_octstr_s(bad, array, &numocts, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(bad->errInfo.status, STATUS_BAD_LENGTH);

    // Contents of a constructed form whose header the caller read. The segment headers count against the capacity.
    Input segments("0402aabb0401cc");
    rtCtxtSetFlag(segments, CTX_FLAG_CONSTRUCTED);
    numocts = 6;
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
        {"no bits", "030100", 0, 0, ""},
        {"no contents", "0300", 0, 0, ""},
        {"unused bits of nothing", "030101", STATUS_BAD_LENGTH, 0, ""},
        {"eight unused bits", "030208ff", STATUS_BAD_VALUE, 0, ""},
        {"passes the input", "030400ff", STATUS_END_OF_BUFFER, 0, ""},
        {"one segment", "2380 03020480 0000", 0, 4, "80"},
        {"one empty segment", "2380 030100 0000", 0, 0, ""},
        {"one empty segment with unused bits", "2380 030105 0000", STATUS_BAD_LENGTH, 0, ""},
        // Only the last initial octet is taken; the first one stays in the data.
        {"two segments, indefinite", "2380 030200aa 030204b0 0000", 0, 20, "00aab0"},
        {"two segments, definite", "2308 030200aa 030204b0", 0, 20, "00aab0"},
        {"constructed, definite, one zero octet", "230100", 0, 0, ""},
        {"segment passes the string", "2303 030204b0", STATUS_BAD_LENGTH, 0, ""},
        {"segment of another type", "2304 040204b0", STATUS_BAD_TAG, 0, ""},
        {"no end-of-contents", "2380 030204b0", STATUS_END_OF_BUFFER, 0, ""},
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
        {"030304abcd", 12, 0, 12},
        {"030304abcd", 9, 0, 12},  // the capacity counts in whole octets
        {"030304abcd", 8, STATUS_STRING_OVERFLOW, 0},
        {"030200ff", 0, STATUS_STRING_OVERFLOW, 0},
        {"0300", 8, 0, 0},
        {"23040302ff00", 8, STATUS_TAG_MISMATCH, 0},
    };
    for (const Row& row : rows) {
        Input in(row.hex);
        std::vector<std::uint8_t> array((row.capacity + 7) / 8);
        std::uint32_t numbits = row.capacity;
        EXPECT_EQ(xd_bitstr_s(in, array.data(), &numbits, TAG_EXPLICIT, 0), row.status) << row.hex;
        if (row.status == 0) {
            EXPECT_EQ(numbits, row.numbits) << row.hex;
        }
    }
}

TEST(DecodeStrings, ZeroCopyPointsIntoTheInput) {
    Input in("0402aabb 030205e0 2404 0402aabb 0302 08ff");
    rtCtxtSetFlag(in, CTX_FLAG_ZERO_COPY);
    const std::uint8_t* data = nullptr;
    std::uint32_t count = 0;
    ASSERT_EQ(xd_octstr(in, &data, &count, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(data, in->buffer.data + 2);
    ASSERT_EQ(xd_bitstr(in, &data, &count, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(data, in->buffer.data + 7);
    EXPECT_EQ(count, 3U);
    ASSERT_EQ(xd_octstr(in, &data, &count, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(hexOf(data, count), "aabb");
    EXPECT_EQ(xd_bitstr(in, &data, &count, TAG_EXPLICIT, 0), STATUS_BAD_VALUE);
    EXPECT_EQ(data, nullptr);
}

TEST(DecodeStrings, CharacterStrings) {
    struct Row {
        const char* hex;
        int status;
        const char* text;
    };
    const Row rows[] = {
        {"16036f6373", 0, "ocs"},
        {"1600", 0, ""},
        {"16036f0073", 0, "o"},  // a NUL shortens the text
        {"3680 04026f63 040173 0000", 0, "ocs"},
        {"3680 0400 0000", 0, ""},
        {"3605 0403 6f6373", 0, "ocs"},
        {"3680 16026f63 0000", STATUS_BAD_TAG, nullptr},
        {"16046f6373", STATUS_END_OF_BUFFER, nullptr},
        {"0c036f6373", STATUS_TAG_MISMATCH, nullptr},
    };
    for (const Row& row : rows) {
        Input in(row.hex);
        const char* text = nullptr;
        EXPECT_EQ(xd_charstr(in, &text, TAG_EXPLICIT, kTagIa5String, 0), row.status) << row.hex;
        if (row.status != 0)
            continue;
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(in.at(), in->buffer.size);
    }
}

TEST(DecodeStrings, WideStringsComeInHostOrder) {
    Input in("1e05 0041042fff 1c04 0001f600 1e00 3e80 0401 00 0401 41 0000 3e80 0400 0000");
    ASN1T16BitCharStr bmp{};
    ASN1T32BitCharStr universal{};
    ASSERT_EQ(xd_16BitCharStr(in, &bmp, TAG_EXPLICIT, kTagBmpString, 0), 0);
    ASSERT_EQ(bmp.nchars, 2U);  // the odd octet is dropped
    EXPECT_EQ(bmp.data[0], 0x0041);
    EXPECT_EQ(bmp.data[1], 0x042F);
    ASSERT_EQ(xd_32BitCharStr(in, &universal, TAG_EXPLICIT, kTagUniversalString, 0), 0);
    ASSERT_EQ(universal.nchars, 1U);
    EXPECT_EQ(universal.data[0], 0x0001F600U);
    ASSERT_EQ(xd_16BitCharStr(in, &bmp, TAG_EXPLICIT, kTagBmpString, 0), 0);
    EXPECT_EQ(bmp.nchars, 0U);
    EXPECT_EQ(bmp.data, nullptr);
    ASSERT_EQ(xd_16BitCharStr(in, &bmp, TAG_EXPLICIT, kTagBmpString, 0), 0);
    ASSERT_EQ(bmp.nchars, 1U);
    EXPECT_EQ(bmp.data[0], 0x0041);
    ASSERT_EQ(xd_16BitCharStr(in, &bmp, TAG_EXPLICIT, kTagBmpString, 0), 0);
    EXPECT_EQ(bmp.nchars, 0U);
    EXPECT_EQ(in.at(), in->buffer.size);
}

}  // namespace
