#include "asn1rt/encode_values.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/asn1rt/runtime_fixture.h"

namespace {

using rttest::Output;

TEST(EncodeValues, IntegersAreMinimal) {
    const std::pair<std::int64_t, const char*> rows[] = {
        {0, "020100"},
        {127, "02017f"},
        {128, "02020080"},
        {256, "02020100"},
        {-1, "0201ff"},
        {-128, "020180"},
        {-129, "0202ff7f"},
        {2147483647, "02047fffffff"},
        {-2147483648LL, "020480000000"},
        {4294967295, "020500ffffffff"},
    };
    for (const auto& [number, hex] : rows) {
        const auto written = [&row = hex](auto writer, auto value) {
            Output out;
            EXPECT_TRUE(out.counts(writer(out, &value, TAG_EXPLICIT))) << row;
            EXPECT_EQ(out.hex(), row);
        };
        if (number <= std::numeric_limits<std::int32_t>::max()) {
            written(xe_integer, static_cast<std::int32_t>(number));
        }
        if (number >= 0) {
            written(xe_unsigned, static_cast<std::uint32_t>(number));
        }
        if (number >= 0 && number <= 0xFFFF) {
            written(xe_uint16, static_cast<std::uint16_t>(number));
        }
    }
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
}

TEST(EncodeValues, BigIntegersFromText) {
    struct Row {
        const char* text;
        const char* hex;     // contents; null for STATUS_BAD_VALUE
        const char* magHex;  // contents written by xe_biguint; null for STATUS_BAD_VALUE
    };
    const Row rows[] = {
        {"0", "00", "00"},
        {"0x0", "00", "00"},
        {"0x80", "80", "80"},
        {"0x080", "0080", "0080"},
        {"0x123", "0123", "0123"},
        {"0x0123", "0123", "0123"},  // the zero completes no octet once it is dropped
        {"0xffff80", "80", "ffff80"},
        {"0xFf7f", "ff7f", "ff7f"},
        {"0x00FF", "00ff", "00ff"},
        {"0x007F", "7f", "007f"},
        {"0b1", "01", "01"},
        {"0b011111111", "00ff", "00ff"},
        {"0x1g", nullptr, nullptr},
        {"0b102", nullptr, nullptr},
        {"0x", nullptr, nullptr},
        {"", nullptr, nullptr},
        {nullptr, nullptr, nullptr},
        {"255", "00ff", nullptr},
        {"-129", "ff7f", nullptr},
        {"12a", nullptr, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text != nullptr ? row.text : "(null)");
        Output out;
        const int answer = xe_bigint(out, row.text, TAG_IMPLICIT);
        EXPECT_EQ(answer, row.hex != nullptr ? static_cast<int>(out.size()) : STATUS_BAD_VALUE);
        EXPECT_EQ(out->errInfo.status, row.hex != nullptr ? 0 : STATUS_BAD_VALUE);
        EXPECT_TRUE(row.hex == nullptr || out.hex() == row.hex) << out.hex();

        Output magnitude;
        const int magAnswer = xe_biguint(magnitude, row.text, TAG_IMPLICIT);
        EXPECT_EQ(magAnswer, row.magHex != nullptr ? static_cast<int>(magnitude.size()) : STATUS_BAD_VALUE);
        EXPECT_TRUE(row.magHex == nullptr || magnitude.hex() == row.magHex) << magnitude.hex();
    }
}

TEST(EncodeValues, BigIntegersGrowTheBufferOrFail) {
    const std::string digits = "0x" + std::string(40000, '7');
    Output out;
    EXPECT_EQ(xe_bigint(out, digits.c_str(), TAG_EXPLICIT), 20004);
    EXPECT_EQ(out.hex(), "02824e20" + digits.substr(2));

    rttest::Context fixed;
    std::uint8_t buffer[3];
    ASSERT_EQ(xe_setp(fixed, buffer, sizeof buffer), 0);
    EXPECT_EQ(xe_bigint(fixed, "0x112233", TAG_IMPLICIT), STATUS_BUFFER_FULL);
    EXPECT_EQ(fixed->errInfo.status, STATUS_BUFFER_FULL);
}

TEST(EncodeValues, ObjectIdentifiers) {
    struct Row {
        std::vector<std::uint32_t> arcs;
        const char* hex;  // null for STATUS_BAD_OBJECT_ID
    };
    const Row rows[] = {
        {{1, 2, 840, 113549}, "06062a864886f70d"},
        {{2, 40}, "060178"},
        {{0, 39, 0}, "06022700"},
        {{1, 3, 4294967295U}, "06062b8fffffff7f"},
        {{2, 4294967295U}, "06059080 80804f"},  // the shared first value needs 33 bits
        {{1, 40}, nullptr},
        {{3, 1}, nullptr},
        {{1}, nullptr},
    };
    for (const Row& row : rows) {
        ASN1OBJID oid{};
        oid.numids = static_cast<std::uint32_t>(row.arcs.size());
        std::copy(row.arcs.begin(), row.arcs.end(), oid.subid);
        Output out;
        const int answer = xe_objid(out, &oid, TAG_EXPLICIT);
        if (row.hex == nullptr) {
            EXPECT_EQ(answer, STATUS_BAD_OBJECT_ID) << row.arcs[0];
        } else {
            EXPECT_EQ(answer, static_cast<int>(out.size()));
            EXPECT_EQ(out.octets(), rttest::fromHex(row.hex));
        }
    }
    Output out;
    ASN1OBJID oid{};
    oid.numids = ASN1_MAX_ARCS + 1;
    EXPECT_EQ(xe_objid(out, &oid, TAG_EXPLICIT), STATUS_BAD_OBJECT_ID);
    EXPECT_EQ(xe_objid(out, nullptr, TAG_EXPLICIT), STATUS_BAD_OBJECT_ID);
    oid.numids = ASN1_MAX_ARCS;
    for (std::uint32_t& arc : oid.subid)
        arc = 0xFFFFFFFF;
    oid.subid[0] = 2;
    EXPECT_EQ(xe_objid(out, &oid, TAG_IMPLICIT), 127 * 5);
}

}  // namespace
