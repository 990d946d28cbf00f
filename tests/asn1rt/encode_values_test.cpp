#include "asn1rt/encode_values.h"

#include <algorithm>
#include <iterator>

#include "asn1rt/object_id.h"
#include "tests/asn1rt/runtime_fixture.h"
#include "tests/support/vectors.h"

namespace {

using namespace rttest;

template <class Number>
std::string written(int (*writer)(ASN1CTXT*, const Number*, ASN1TagType), const std::string& text) {
    Output out;
    const auto number = static_cast<Number>(std::stoll(text));
    return reported(out, writer(out, &number, TAG_EXPLICIT));
}

std::string writtenBig(int (*writer)(ASN1CTXT*, const char*, ASN1TagType), const std::string& text) {
    Output out;
    const int answer = writer(out, text.c_str(), TAG_IMPLICIT);
    EXPECT_EQ(out->errInfo.status, answer < 0 ? answer : 0) << text;
    return reported(out, answer);
}

// A header at once, which must be the same as from its two parts.
std::string header(const std::string& row) {
    const auto tag = static_cast<ASN1TAG>(std::stoul(row, nullptr, 16));
    const int length = std::stoi(row.substr(9));
    Output parts;
    EXPECT_TRUE(parts.counts(xe_len(parts, length < 0 ? LEN_INDEFINITE : length)) && xe_tag(parts, tag) > 0) << row;
    Output out;
    EXPECT_TRUE(out.counts(xe_tag_len(out, tag, length < 0 ? LEN_INDEFINITE : length) - std::max(length, 0))) << row;
    EXPECT_EQ(out.hex(), parts.hex());
    return out.hex();
}

TEST(EncodeValues, WritesItsVectors) {
    testkit::expectVectors("asn1rt/encode_values.txt",
                           {{"header", header},
                            {"integer", [](const std::string& text) { return written(xe_integer, text); }},
                            {"unsigned", [](const std::string& text) { return written(xe_unsigned, text); }},
                            {"uint16", [](const std::string& text) { return written(xe_uint16, text); }},
                            {"bigint", [](const std::string& text) { return writtenBig(xe_bigint, text); }},
                            {"biguint", [](const std::string& text) { return writtenBig(xe_biguint, text); }},
                            {"objid", [](const std::string& text) {
                                 Output out;
                                 ASN1OBJID oid{};
                                 EXPECT_EQ(rtStrToOid(text.c_str(), &oid), 1) << text;
                                 return reported(out, xe_objid(out, &oid, TAG_EXPLICIT));
                             }}});
}

TEST(EncodeValues, SmallTypes) {
    Output out;
    const std::int32_t six = 6;
    const std::uint8_t anyTrue = 0x55;
    const std::uint8_t no = 0;
    EXPECT_EQ(xe_null(out, TAG_IMPLICIT), 0);
    EXPECT_EQ(xe_null(out, TAG_EXPLICIT), 2);
    EXPECT_EQ(xe_enum(out, &six, TAG_EXPLICIT), 3);
    EXPECT_EQ(xe_boolean(out, &no, TAG_IMPLICIT), 1);
    EXPECT_EQ(xe_boolean(out, &anyTrue, TAG_EXPLICIT), 3);
    EXPECT_EQ(out.hex(), "0101ff000a01060500");
    EXPECT_EQ(xe_boolean(out, nullptr, TAG_EXPLICIT), STATUS_BAD_VALUE);
    EXPECT_EQ(xe_integer(out, nullptr, TAG_EXPLICIT), STATUS_BAD_VALUE);
    EXPECT_EQ(xe_unsigned(out, nullptr, TAG_EXPLICIT), STATUS_BAD_VALUE);
    EXPECT_EQ(xe_uint16(out, nullptr, TAG_EXPLICIT), STATUS_BAD_VALUE);
    EXPECT_EQ(xe_enum(out, nullptr, TAG_EXPLICIT), STATUS_BAD_VALUE);
    EXPECT_EQ(xe_bigint(out, nullptr, TAG_EXPLICIT), STATUS_BAD_VALUE);
    EXPECT_EQ(xe_biguint(out, nullptr, TAG_EXPLICIT), STATUS_BAD_VALUE);
}

TEST(EncodeValues, BigIntegersGrowTheBufferOrFail) {
    const std::string digits = "0x" + std::string(40000, '7');
    Output out;
    EXPECT_EQ(xe_bigint(out, digits.c_str(), TAG_EXPLICIT), 20004);
    EXPECT_EQ(out.hex(), "02824e20" + digits.substr(2));

    Context fixed;
    std::uint8_t buffer[3];
    ASSERT_EQ(xe_setp(fixed, buffer, sizeof buffer), 0);
    EXPECT_EQ(xe_bigint(fixed, "0x112233", TAG_IMPLICIT), STATUS_BUFFER_FULL);
    EXPECT_EQ(fixed->errInfo.status, STATUS_BUFFER_FULL);
}

TEST(EncodeValues, ObjectIdentifiersHaveAtMost128Arcs) {
    Output out;
    ASN1OBJID oid{};
    oid.numids = ASN1_MAX_ARCS + 1;
    EXPECT_EQ(xe_objid(out, &oid, TAG_EXPLICIT), STATUS_BAD_OBJECT_ID);
    EXPECT_EQ(xe_objid(out, nullptr, TAG_EXPLICIT), STATUS_BAD_OBJECT_ID);
    oid.numids = ASN1_MAX_ARCS;
    std::fill(std::begin(oid.subid), std::end(oid.subid), 0xFFFFFFFF);
    oid.subid[0] = 2;
    EXPECT_EQ(xe_objid(out, &oid, TAG_IMPLICIT), 127 * 5);
}

}  // namespace
