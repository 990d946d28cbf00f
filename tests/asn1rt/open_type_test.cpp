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

// What is gathered up to a tag, written again; and the status, or the position after it.
std::string gathered(const std::string& row, ASN1TAG tag) {
    Input in(row.substr(row.find(':') + 1));
    const int length = std::stoi(row);
    const ASN1ExtPosition position{in->buffer.data, length < 0 ? LEN_INDEFINITE : length};
    _Asn1RTDList list{};
    const int status = xd_OpenTypeExt(in, &position, tag, &list);
    EXPECT_EQ(in->errInfo.status, status) << row;
    rtDListAppend(in, &list, nullptr);
    Output out;
    EXPECT_TRUE(out.counts(xe_OpenTypeExt(out, &list))) << row;
    rtMemFreeOpenSeqExt(in, &list);
    EXPECT_EQ(list.count, 0U) << row;
    return out.hex() + (status == 0 ? " @" + std::to_string(in.at()) : " " + statusName(status));
}

TEST(OpenType, CopiesElementsAsListed) {
    testkit::expectVectors("asn1rt/open_type.txt",
                           {{"encode",
                             [](const std::string& hex) {
                                 const Bytes data = fromHex(hex);
                                 Output out;
                                 return reported(
                                     out, xe_OpenType(out, data.data(), static_cast<std::uint32_t>(data.size())));
                             }},
                            {"decode",
                             [](const std::string& hex) {
                                 const std::string copied = decoded(hex, 0);
                                 EXPECT_EQ(decoded(hex, CTX_FLAG_ZERO_COPY), copied) << hex;
                                 return copied;
                             }},
                            {"up to [2]", [](const std::string& row) { return gathered(row, kTagContext | 2); }},
                            {"to the end", [](const std::string& row) { return gathered(row, 0xFFFFFFFF); }},
                            {"to either end", [](const std::string& row) { return gathered(row, 0xFFFFFFFE); }}});
    Output out;
    EXPECT_EQ(xe_OpenType(out, nullptr, 3), STATUS_BAD_VALUE);
    EXPECT_EQ(xe_OpenTypeExt(out, nullptr), 0);
}

TEST(OpenType, EncodedInPlaceIsNotCopied) {
    Output out;
    const Bytes element = fromHex("0402aabb");
    ASSERT_EQ(xe_memcpy(out, element.data(), 4), 4);
    EXPECT_EQ(xe_OpenType(out, xe_getp(out), 4), 4);
    EXPECT_EQ(out.octets(), element);
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
