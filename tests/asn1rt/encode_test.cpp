#include "asn1rt/encode.h"

#include <functional>

#include "asn1rt/encode_strings.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

using namespace rttest;

TEST(Encode, PassesAFailedResultThroughWithoutWriting) {
    Output out;
    EXPECT_EQ(xe_tag_len(out, kTagSequence, STATUS_BAD_LENGTH), STATUS_BAD_LENGTH);
    EXPECT_EQ(xe_len(out, -5), 0);
    EXPECT_EQ(xe_memcpy(out, nullptr, 3), STATUS_BAD_VALUE);
    EXPECT_EQ(out.size(), 0U);
    EXPECT_EQ(xe_tag_len(out, kTagSequence, INT32_MAX), STATUS_BAD_LENGTH);
}

TEST(Encode, NeverUsesTheLastOctetOfACallersBuffer) {
    Context ctx;
    std::uint8_t buffer[4] = {0, 0, 0, 0xEE};
    ASSERT_EQ(xe_setp(ctx, buffer, sizeof buffer), 0);
    const std::uint8_t octets[] = {1, 2, 3};
    EXPECT_EQ(xe_memcpy(ctx, octets, 3), 3);
    EXPECT_EQ(xe_memcpy(ctx, octets, 1), STATUS_BUFFER_FULL);
    EXPECT_EQ(xe_getp(ctx), buffer);
    EXPECT_EQ(hexOf(buffer, 4), "010203ee");

    ASSERT_EQ(xe_setp(ctx, buffer, 0), 0);
    EXPECT_EQ(xe_memcpy(ctx, octets, 1), STATUS_BUFFER_FULL);
}

TEST(Encode, GrowsByWhatIsNeededAndKeepsWhatWasWritten) {
    const Bytes large(20000, 0xAB);
    Output atOnce;
    EXPECT_EQ(xe_memcpy(atOnce, large.data(), 20000), 20000);
    EXPECT_EQ(atOnce->buffer.size, 16384U + 20000U);

    Output inSteps;
    Bytes expected;
    for (int i = 0; i < 20000; ++i) {
        const auto octet = static_cast<std::uint8_t>(i % 251);
        ASSERT_EQ(xe_memcpy(inSteps, &octet, 1), 1);
        expected.insert(expected.begin(), octet);
    }
    EXPECT_EQ(inSteps->buffer.size, 16384U + 16384U);
    EXPECT_EQ(inSteps.octets(), expected);

    // The source may be the message itself, whose block goes away while it grows.
    const Bytes before = inSteps.octets();
    EXPECT_EQ(xe_memcpy(inSteps, xe_getp(inSteps), 20000), 20000);
    EXPECT_EQ(inSteps.octets(), testkit::concat({before, before}));
}

TEST(Encode, FreedBufferHasNoRoomLeft) {
    Output out;
    xe_free(out);
    EXPECT_EQ(out->buffer.data, nullptr);
    EXPECT_EQ(xe_tag(out, kTagNull), STATUS_BUFFER_FULL);
    xe_free(out);
}

TEST(Encode, WritesStrings) {
    const std::uint8_t octets[] = {0xAB, 0xCD};
    std::uint16_t wide[] = {0x0041, 0x042F};
    std::uint32_t wider[] = {0x0001F600};
    const ASN1T16BitCharStr bmp{2, wide};
    const ASN1T32BitCharStr universal{1, wider};
    const ASN1T16BitCharStr countOnly{2, nullptr};

    struct Row {
        const char* what;
        std::function<int(ASN1CTXT*)> write;
        const char* hex;  // null for STATUS_BAD_VALUE
    };
    const Row rows[] = {
        {"octets", [&](auto* c) { return xe_octstr(c, octets, 2, TAG_EXPLICIT); }, "0402abcd"},
        {"null octets are empty", [&](auto* c) { return xe_octstr(c, nullptr, 2, TAG_EXPLICIT); }, "0400"},
        {"padding is kept", [&](auto* c) { return xe_bitstr(c, octets, 12, TAG_EXPLICIT); }, "030304abcd"},
        {"whole octets", [&](auto* c) { return xe_bitstr(c, octets, 16, TAG_IMPLICIT); }, "00abcd"},
        {"no bits", [&](auto* c) { return xe_bitstr(c, nullptr, 0, TAG_EXPLICIT); }, "030100"},
        {"null bits write nothing", [&](auto* c) { return xe_bitstr(c, nullptr, 1, TAG_EXPLICIT); }, ""},
        {"text", [&](auto* c) { return xe_charstr(c, "ab", TAG_EXPLICIT, kTagIa5String); }, "16026162"},
        {"null text", [&](auto* c) { return xe_charstr(c, nullptr, TAG_EXPLICIT, kTagIa5String); }, nullptr},
        {"16 bits", [&](auto* c) { return xe_16BitCharStr(c, &bmp, TAG_EXPLICIT, kTagBmpString); }, "1e040041042f"},
        {"32 bits", [&](auto* c) { return xe_32BitCharStr(c, &universal, TAG_EXPLICIT, kTagUniversalString); },
         "1c040001f600"},
        {"characters counted, not given",
         [&](auto* c) { return xe_16BitCharStr(c, &countOnly, TAG_EXPLICIT, kTagBmpString); }, nullptr},
    };
    for (const Row& row : rows) {
        Output out;
        const int answer = row.write(out);
        EXPECT_EQ(answer, row.hex == nullptr ? STATUS_BAD_VALUE : static_cast<int>(out.size())) << row.what;
        EXPECT_EQ(out.hex(), row.hex == nullptr ? "" : row.hex) << row.what;
    }
}

}  // namespace
