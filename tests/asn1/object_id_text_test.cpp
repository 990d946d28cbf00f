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

TEST(ObjectIdText, ReadsUpTo128Arcs) {
    ASN1OBJID oid{};
    EXPECT_EQ(str2oid(arcs(128).c_str(), &oid), 0);
    EXPECT_EQ(toOID(oid).c_str(), arcs(128));
    EXPECT_EQ(str2oid(arcs(129).c_str(), &oid), 1);
    EXPECT_EQ(str2oid(nullptr, &oid), 1);
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
