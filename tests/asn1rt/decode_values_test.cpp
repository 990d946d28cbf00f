#include "asn1rt/decode_values.h"

#include "asn1rt/decode_core.h"
#include "asn1rt/encode_values.h"
#include "tests/asn1rt/runtime_fixture.h"
#include "tests/support/vectors.h"

namespace {

using namespace rttest;

template <class Number>
std::string readNumber(int (*reader)(ASN1CTXT*, Number*, ASN1TagType, int), const std::string& hex) {
    Input in(hex);
    Number value{};
    const int status = reader(in, &value, TAG_EXPLICIT, 0);
    return reported(in, status, std::to_string(value));
}

std::string readObjectId(int (*reader)(ASN1CTXT*, ASN1OBJID*, ASN1TagType, int), const std::string& hex) {
    Input in(hex);
    ASN1OBJID oid{};
    const int status = reader(in, &oid, TAG_EXPLICIT, 0);
    std::string text;
    for (std::uint32_t i = 0; i < oid.numids; ++i) {
        text += (i != 0 ? "." : "") + std::to_string(oid.subid[i]);
    }
    return reported(in, status, text);
}

TEST(DecodeValues, ReadsItsVectors) {
    testkit::expectVectors(
        "asn1rt/decode_values.txt",
        {{"integer", [](const std::string& hex) { return readNumber(xd_integer, hex); }},
         {"unsigned", [](const std::string& hex) { return readNumber(xd_unsigned, hex); }},
         {"uint16", [](const std::string& hex) { return readNumber(xd_uint16, hex); }},
         {"boolean", [](const std::string& hex) { return readNumber(xd_boolean, hex); }},
         {"null",
          [](const std::string& hex) {
              Input in(hex);
              return reported(in, xd_null(in, TAG_EXPLICIT), "null");
          }},
         {"bigint",  // from contents to text, and what xe_bigint makes of the text
          [](const std::string& hex) {
              Input in(hex);
              Output out;
              const char* text = nullptr;
              EXPECT_EQ(xd_bigint(in, &text, TAG_IMPLICIT, static_cast<int>(in->buffer.size)), 0);
              EXPECT_TRUE(out.counts(xe_bigint(out, text, TAG_IMPLICIT)));
              return text + (" " + out.hex());
          }},
         {"objid", [](const std::string& hex) { return readObjectId(xd_objid, hex); }},
         {"record objid", [](const std::string& hex) { return readObjectId(decoding::readObjectId, hex); }}});
}

TEST(DecodeValues, ReadsContentsWithAGivenLength) {
    Input contents("8000");
    std::int32_t number = 0;
    EXPECT_EQ(xd_integer(contents, &number, TAG_IMPLICIT, 2), 0);
    EXPECT_EQ(number, -32768);
    EXPECT_EQ(xd_integer(contents, &number, TAG_IMPLICIT, 1), STATUS_END_OF_BUFFER);
    Input implicit("aabb");
    std::uint8_t value = 0;
    EXPECT_EQ(xd_null(implicit, TAG_IMPLICIT), 0);
    EXPECT_EQ(xd_boolean(implicit, &value, TAG_IMPLICIT, 2), STATUS_BAD_LENGTH);
    EXPECT_EQ(xd_boolean(implicit, &value, TAG_IMPLICIT, 1), 0);
    EXPECT_EQ(value, 0xAA);
    for (const int more : {126, 127}) {  // each octet after the first is an arc, and 128 arcs are allowed
        Input in(Bytes(static_cast<std::size_t>(more) + 1, 0x01));
        ASN1OBJID oid{};
        EXPECT_EQ(xd_objid(in, &oid, TAG_IMPLICIT, more + 1), more == 126 ? 0 : STATUS_BAD_OBJECT_ID);
        EXPECT_EQ(oid.numids, 128U);
    }
}

TEST(DecodeValues, EnumeratedReturnsAMismatchWithoutRecordingIt) {
    Input in("0a0103 020103");
    std::int32_t value = 0;
    EXPECT_EQ(xd_enum(in, &value, TAG_EXPLICIT, 0), 0);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(xd_enum(in, &value, TAG_EXPLICIT, 0), STATUS_TAG_MISMATCH);
    EXPECT_EQ(in->errInfo.status, 0);
    EXPECT_EQ(in.at(), 3U);
}

TEST(DecodeValues, BigIntegersRecordOnlyAMismatch) {
    const char* text = nullptr;
    Input cut("020301");
    EXPECT_EQ(xd_bigint(cut, &text, TAG_EXPLICIT, 0), STATUS_END_OF_BUFFER);
    EXPECT_EQ(cut->errInfo.status, 0);
    Input other("0401ff");
    EXPECT_EQ(xd_bigint(other, &text, TAG_EXPLICIT, 0), STATUS_TAG_MISMATCH);
    EXPECT_EQ(other->errInfo.status, STATUS_TAG_MISMATCH);
}

}  // namespace
