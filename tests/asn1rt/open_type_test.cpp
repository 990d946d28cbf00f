#include "asn1rt/open_type.h"

#include <gtest/gtest.h>

#include "tests/asn1rt/runtime_fixture.h"

namespace {

using rttest::Bytes;
using rttest::fromHex;
using rttest::hexOf;
using rttest::Input;
using rttest::Output;

TEST(OpenType, EncoderTakesOneCompleteElement) {
    struct Row {
        const char* what;
        const char* data;
        int answer;
        const char* hex;
    };
    const Row rows[] = {
        {"octets behind are dropped", "04020102 aabbccddeeff", 4, "04020102"},
        {"indefinite", "3080 020105 0000 ff", 7, "30800201050000"},
        {"no end-of-contents", "3080020105", STATUS_END_OF_BUFFER, ""},
        {"end-of-contents pair", "0000", STATUS_BAD_VALUE, ""},
        {"passes the given octets", "04050102", STATUS_BAD_LENGTH, ""},
        {"half a header", "30", STATUS_END_OF_BUFFER, ""},
        {"nothing", "", 0, ""},
    };
    for (const Row& row : rows) {
        const Bytes data = fromHex(row.data);
        Output out;
        EXPECT_EQ(xe_OpenType(out, data.data(), static_cast<std::uint32_t>(data.size())), row.answer) << row.what;
        EXPECT_EQ(out.hex(), row.hex) << row.what;
    }
    Output out;
    EXPECT_EQ(xe_OpenType(out, nullptr, 3), STATUS_BAD_VALUE);
}

TEST(OpenType, EncodedInPlaceIsNotCopied) {
    Output out;
    const Bytes element = fromHex("0402aabb");
    ASSERT_EQ(xe_memcpy(out, element.data(), 4), 4);
    EXPECT_EQ(xe_OpenType(out, xe_getp(out), 4), 4);
    EXPECT_EQ(out.octets(), element);
}

TEST(OpenType, DecoderTakesTheElementAsItIs) {
    struct Row {
        const char* what;
        const char* hex;
        int status;
        const char* octets;
    };
    const Row rows[] = {
        {"definite", "0402aabb 0500", 0, "0402aabb"},
        {"indefinite", "3080 3080 0000 0000 0500", 0, "3080308000000000"},
        {"short form passes the input", "0405aabb", STATUS_BAD_VALUE, ""},
        {"long form passes the input", "048180aabb", STATUS_BAD_LENGTH, ""},
        {"end-of-contents pair", "0000", STATUS_BAD_VALUE, ""},
        {"truncated header", "3082", 0, "3082"},
        {"truncated indefinite", "3080 0201", 0, "30800201"},
        {"nothing left", "", 0, ""},
        {"bad tag", "1fffffffffff00", STATUS_BAD_TAG, ""},
    };
    for (const Row& row : rows) {
        for (const std::uint16_t flags : {std::uint16_t{0}, CTX_FLAG_ZERO_COPY}) {
            SCOPED_TRACE(row.what);
            Input in(row.hex);
            rtCtxtSetFlag(in, flags);
            const std::uint8_t* data = nullptr;
            std::uint32_t numocts = 4000000000U;  // left over from before: never reaches beyond the input
            EXPECT_EQ(xd_OpenType(in, &data, &numocts), row.status);
            EXPECT_EQ(in->errInfo.status, row.status);
            if (row.status != 0)
                continue;
            EXPECT_EQ(hexOf(data, numocts), row.octets);
            EXPECT_TRUE(numocts == 0 || (data == in->buffer.data) == (flags != 0));
        }
    }
}

TEST(OpenType, ExtensionsGoThroughAListAndBackInOrder) {
    struct Row {
        const char* what;
        const char* hex;
        const char* gathered;
        int length;
        ASN1TAG tag;
        int status;
        std::uint32_t position;
    };
    const Row rows[] = {
        {"up to the known member", "800101 0402aabb 820103", "8001010402aabb", 10, kTagContext | 2, 0, 7},
        {"known member missing", "800101 0402aabb", "8001010402aabb", 7, kTagContext | 2, STATUS_END_OF_BUFFER, 7},
        {"everything", "800101 820103 0500", "800101820103", 6, 0xFFFFFFFF, 0, 6},
        {"everything, indefinite", "800101 3080 0000 0000 0500", "80010130800000", LEN_INDEFINITE, 0xFFFFFFFE, 0, 7},
        {"malformed", "800101 810501", "800101", 6, 0xFFFFFFFF, STATUS_BAD_VALUE, 6},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Input in(row.hex);
        const ASN1ExtPosition position{in->buffer.data, row.length};
        _Asn1RTDList list{};
        EXPECT_EQ(xd_OpenTypeExt(in, &position, row.tag, &list), row.status);
        EXPECT_EQ(in->errInfo.status, row.status);
        if (row.status == 0) {
            EXPECT_EQ(in.at(), row.position);
        }

        rtDListAppend(in, &list, nullptr);
        Output out;
        EXPECT_EQ(xe_OpenTypeExt(out, &list), static_cast<int>(fromHex(row.gathered).size()));
        EXPECT_EQ(out.hex(), row.gathered);
        rtMemFreeOpenSeqExt(in, &list);
        EXPECT_EQ(list.count, 0U);
    }
    Output out;
    EXPECT_EQ(xe_OpenTypeExt(out, nullptr), 0);
}

TEST(OpenType, StopsWhenTheInputEndedBefore) {
    Input in("800101");
    rtCtxtSetFlag(in, CTX_FLAG_OUTER_INDEFINITE | CTX_FLAG_END_REACHED);
    const ASN1ExtPosition position{in->buffer.data, 3};
    _Asn1RTDList list{};
    EXPECT_EQ(xd_OpenTypeExt(in, &position, 0xFFFFFFFF, &list), STATUS_END_OF_BUFFER);
    Input skipped("0402aabb");
    EXPECT_EQ(xd_OpenTypeAppend(skipped, nullptr), 0) << "without a list";
    EXPECT_EQ(skipped.at(), 4U);
}

}  // namespace
