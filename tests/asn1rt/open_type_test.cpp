#include "asn1rt/open_type.h"

#include "tests/asn1rt/runtime_fixture.h"
#include "tests/support/vectors.h"

namespace {

using namespace rttest;

std::string decoded(const std::string& hex, std::uint16_t flags) {
    Input in(hex);
    rtCtxtSetFlag(in, flags);
    const std::uint8_t* data = nullptr;
    std::uint32_t numocts = 4000000000U;  // left over from before: must not reach past the input
    const int status = xd_OpenType(in, &data, &numocts);
    EXPECT_TRUE(status != 0 || numocts == 0 || (data == in->buffer.data) == (flags != 0)) << hex;
    return status == 0 ? hexOf(data, numocts) : reported(in, status, "");
}

TEST(OpenType, CopiesElementsAsListed) {
    testkit::expectVectors("asn1rt/open_type.txt", {{"encode",
                                                     [](const std::string& hex) {
                                                         const Bytes data = fromHex(hex);
                                                         Output out;
                                                         const auto size = static_cast<std::uint32_t>(data.size());
                                                         return reported(out, xe_OpenType(out, data.data(), size));
                                                     }},
                                                    {"decode", [](const std::string& hex) {
                                                         const std::string copied = decoded(hex, 0);
                                                         EXPECT_EQ(decoded(hex, CTX_FLAG_ZERO_COPY), copied) << hex;
                                                         return copied;
                                                     }}});
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
