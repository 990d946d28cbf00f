#include "asn1rt/decode_values.h"

#include <gtest/gtest.h>

#include <tuple>

#include "asn1rt/decode_core.h"
#include "asn1rt/encode_values.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

using rttest::Input;
using rttest::Output;

TEST(DecodeValues, Integers) {
    constexpr int kTooBig = STATUS_TOO_BIG;
    constexpr int kBadLength = STATUS_BAD_LENGTH;
    constexpr int kEnd = STATUS_END_OF_BUFFER;
    using Answer = std::pair<int, std::int64_t>;  // status and value
    struct Row {
        const char* hex;
        Answer asInteger;
        Answer asUnsigned;
        Answer asUint16;
    };
    const Row rows[] = {
        {"0203000001", {0, 1}, {0, 1}, {0, 1}},
        {"0201ff", {0, -1}, {0, 255}, {0, 255}},
        {"0202ff7f", {0, -129}, {0, 65407}, {0, 65407}},
        {"020400000001", {0, 1}, {0, 1}, {kTooBig, 0}},
        {"0205ffffffffff", {kTooBig, 0}, {kTooBig, 0}, {kTooBig, 0}},
        {"020500ffffffff", {kTooBig, 0}, {0, 4294967295}, {kTooBig, 0}},
        {"0206000000000001", {kTooBig, 0}, {kTooBig, 0}, {kTooBig, 0}},
        {"0200", {kBadLength, 0}, {0, 0}, {0, 0}},
        {"02810105", {0, 5}, {0, 5}, {kTooBig, 0}},
        {"020201", {kEnd, 0}, {kEnd, 0}, {kEnd, 0}},
        {"02", {kEnd, 0}, {kEnd, 0}, {kEnd, 0}},
        {"0280", {kBadLength, 0}, {kBadLength, 0}, {kTooBig, 0}},
        {"220105", {STATUS_TAG_MISMATCH, 0}, {STATUS_TAG_MISMATCH, 0}, {STATUS_TAG_MISMATCH, 0}},
    };
    for (const Row& row : rows) {
        const auto read = [&row](auto reader, auto value) {
            Input in(row.hex);
            const int status = reader(in, &value, TAG_EXPLICIT, 0);
            EXPECT_EQ(in->errInfo.status, status);
            EXPECT_TRUE(status != STATUS_TAG_MISMATCH || in.at() == 0);
            return Answer(status, value);
        };
        EXPECT_EQ(read(xd_integer, std::int32_t{}), row.asInteger) << row.hex;
        EXPECT_EQ(read(xd_unsigned, std::uint32_t{}), row.asUnsigned) << row.hex;
        EXPECT_EQ(read(xd_uint16, std::uint16_t{}), row.asUint16) << row.hex;
    }
    // Contents alone, with a length that the caller read.
    Input contents("8000");
    std::int32_t number = 0;
    EXPECT_EQ(xd_integer(contents, &number, TAG_IMPLICIT, 2), 0);
    EXPECT_EQ(number, -32768);
    EXPECT_EQ(xd_integer(contents, &number, TAG_IMPLICIT, 1), STATUS_END_OF_BUFFER);
}

TEST(DecodeValues, EnumeratedReportsAMismatchOnlyInItsAnswer) {
    Input in("0a0103 020103");
    std::int32_t value = 0;
    EXPECT_EQ(xd_enum(in, &value, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(xd_enum(in, &value, TAG_EXPLICIT, 0), STATUS_TAG_MISMATCH);
    EXPECT_EQ(in->errInfo.status, 0);
    EXPECT_EQ(in.at(), 3U);
}

TEST(DecodeValues, BooleanAndNull) {
    const std::tuple<const char*, int, int> rows[] = {
        {"010155", 0, STATUS_TAG_MISMATCH},
        {"01020000", STATUS_BAD_LENGTH, STATUS_TAG_MISMATCH},
        {"0101", STATUS_END_OF_BUFFER, STATUS_TAG_MISMATCH},
        {"01", STATUS_END_OF_BUFFER, STATUS_TAG_MISMATCH},
        {"0500", STATUS_TAG_MISMATCH, 0},
        {"050100", STATUS_TAG_MISMATCH, STATUS_BAD_LENGTH},
        {"05", STATUS_TAG_MISMATCH, STATUS_END_OF_BUFFER},
    };
    for (const auto& [hex, booleanStatus, nullStatus] : rows) {
        std::uint8_t value = 0;
        Input in(hex);
        EXPECT_EQ(xd_boolean(in, &value, TAG_EXPLICIT, 0), booleanStatus) << hex;
        EXPECT_EQ(value, booleanStatus == 0 ? 0x55 : 0) << hex;
        Input nullIn(hex);
        EXPECT_EQ(xd_null(nullIn, TAG_EXPLICIT), nullStatus) << hex;
        EXPECT_EQ(nullIn.at(), nullStatus == 0 ? 2U : 0U) << hex;
    }
    Input implicit("aabb");
    std::uint8_t value = 0;
    EXPECT_EQ(xd_null(implicit, TAG_IMPLICIT), 0);
    EXPECT_EQ(xd_boolean(implicit, &value, TAG_IMPLICIT, 2), STATUS_BAD_LENGTH);
    EXPECT_EQ(xd_boolean(implicit, &value, TAG_IMPLICIT, 1), 0);
    EXPECT_EQ(value, 0xAA);
}

TEST(DecodeValues, BigIntegersSurviveTheRoadThroughText) {
    struct Row {
        const char* contents;
        const char* text;
        const char* again;  // what xe_bigint makes of the text
    };
    const Row rows[] = {
        {"00", "0x0", "00"},
        {"0080", "0x080", "0080"},
        {"ff", "0xff", "ff"},
        {"", "0x0", "00"},
        {"0000000001", "0x01", "01"},
        {"ffff7f", "0xffff7f", "ff7f"},
        {"00a1b2c3d4e5f6a7b8", "0x0a1b2c3d4e5f6a7b8", "00a1b2c3d4e5f6a7b8"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        Input in(row.contents);
        const char* text = nullptr;
        const auto length = static_cast<int>(in->buffer.size);
        ASSERT_EQ(xd_bigint(in, &text, TAG_IMPLICIT, length), 0);
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(in.at(), in->buffer.size);
        Output out;
        EXPECT_TRUE(out.counts(xe_bigint(out, text, TAG_IMPLICIT)));
        EXPECT_EQ(out.hex(), row.again);
    }
    const char* text = nullptr;
    Input cut("020301");
    EXPECT_EQ(xd_bigint(cut, &text, TAG_EXPLICIT, 0), STATUS_END_OF_BUFFER);
    EXPECT_EQ(cut->errInfo.status, 0);
    Input other("0401ff");
    EXPECT_EQ(xd_bigint(other, &text, TAG_EXPLICIT, 0), STATUS_TAG_MISMATCH);
    EXPECT_EQ(other->errInfo.status, STATUS_TAG_MISMATCH);
}

TEST(DecodeValues, ObjectIdentifiers) {
    struct Row {
        const char* hex;
        int status;
        std::vector<std::uint32_t> arcs;
    };
    const Row rows[] = {
        {"06062a864886f70d", 0, {1, 2, 840, 113549}},
        {"06014f", 0, {1, 39}},
        {"060150", 0, {2, 0}},
        {"06022a86", 0, {1, 2, 6}},          // the last arc is cut short
        {"06062a9080808005", 0, {1, 2, 5}},  // 2 to the 32nd and 5: the arc wraps
        {"0600", STATUS_BAD_LENGTH, {}},
        {"06032a03", STATUS_END_OF_BUFFER, {}},
        {"0403", STATUS_TAG_MISMATCH, {}},
    };
    for (const Row& row : rows) {
        Input in(row.hex);
        ASN1OBJID oid{};
        EXPECT_EQ(xd_objid(in, &oid, TAG_EXPLICIT, 0), row.status) << row.hex;
        EXPECT_EQ(std::vector<std::uint32_t>(oid.subid, oid.subid + oid.numids), row.arcs) << row.hex;
    }
    // For records, such arcs are told from all that a known identifier has, and so are padded ones.
    for (const char* hex : {"06022a86", "06032a8081", "06062a9080808005", "06032a8003", "060b2affffffffffffffffffff",
                            "060b2aff80808080808080807f"}) {
        Input in(hex);
        ASN1OBJID oid{};
        EXPECT_EQ(decoding::readObjectId(in, &oid, TAG_EXPLICIT, 0), 0) << hex;
        EXPECT_EQ(std::vector<std::uint32_t>(oid.subid, oid.subid + oid.numids),
                  (std::vector<std::uint32_t>{1, 2, decoding::kUnreadableArc}))
            << hex;
    }
    Input widest("06062a8fffffff7d");
    ASN1OBJID oid{};
    EXPECT_EQ(decoding::readObjectId(widest, &oid, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(oid.subid[2], 0xFFFFFFFDU);
    // 126 octets behind the first make 128 arcs; one more is too many.
    for (const int more : {126, 127}) {
        Input in(rttest::Bytes(static_cast<std::size_t>(more) + 1, 0x01));
        ASN1OBJID oid{};
        EXPECT_EQ(xd_objid(in, &oid, TAG_IMPLICIT, more + 1), more == 126 ? 0 : STATUS_BAD_OBJECT_ID);
        EXPECT_EQ(oid.numids, 128U);
    }
}

}  // namespace
