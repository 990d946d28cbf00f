#include "asn1/text/object_id_text.h"

#include <gmock/gmock.h>

#include <string>

#include "handles/status.h"
#include "tests/support/status_matcher.h"

namespace {

using namespace Orvane::ASN1;
using namespace testkit;

std::string arcs(int count) {
    std::string text = "1";
    for (int index = 1; index < count; ++index) {
        text += ".7";
    }
    return text;
}

TEST(ObjectIdText, ReadsDottedDecimal) {
    const std::string longest = arcs(128);
    const std::string tooLong = arcs(129);
    const struct {
        const char* text;
        const char* expected;  // null: refused
    } rows[] = {
        {"1.2.840", "1.2.840"},
        {"1", "1"},
        {" 1 . 2 ", "1.2"},
        {"1.4294967294", "1.4294967294"},
        {"1.4294967295", nullptr},
        {"4294967297.1", "1.1"},  // only the last arc has a limit
        {longest.c_str(), longest.c_str()},
        {tooLong.c_str(), nullptr},
        {"", nullptr},
        {nullptr, nullptr},
        {".", nullptr},
        {"1.", nullptr},
        {".1", nullptr},
        {"1..2", nullptr},
        {"1.2x", nullptr},
        {"1x.2", nullptr},
        {"1.2 3", nullptr},
        {"CN", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text != nullptr ? row.text : "null");
        ASN1OBJID oid{};
        EXPECT_EQ(str2oid(row.text, &oid), row.expected != nullptr ? 0 : 1);
        if (row.expected != nullptr) {
            EXPECT_STREQ(toOID(oid).c_str(), row.expected);
        } else {
            EXPECT_THAT(thrownStatus([&] { toASN1OBJID(row.text); }), IsStatus(status::kInvalidArgument));
        }
    }
}

TEST(ObjectIdText, WritesTheLongestIdentifierAndTheEmptyOne) {
    ASN1OBJID oid{};
    Orvane::CBlob text;
    EXPECT_EQ(oid2str(text, &oid), 1);
    EXPECT_EQ(text.cbData(), 1U);
    oid.numids = 1000;  // a record that claims more than it can hold
    for (std::uint32_t& arc : oid.subid) {
        arc = 0xFFFFFFFF;
    }
    EXPECT_EQ(oid2str(text, &oid), 1);
    EXPECT_EQ(text.cbData(), 128U * 11U);
    EXPECT_EQ(text.pbData()[text.cbData() - 1], 0);
}

}  // namespace
