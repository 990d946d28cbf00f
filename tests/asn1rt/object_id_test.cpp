#include "asn1rt/object_id.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "asn1rt/schema_types.h"

namespace {

std::vector<std::uint32_t> arcsOf(const ASN1OBJID& oid) {
    return {oid.subid, oid.subid + oid.numids};
}

TEST(ObjectId, TextIsReadUpToTheFirstBadPiece) {
    std::string longest = "1";
    for (int i = 1; i < 128; ++i)
        longest += ".2";
    struct Row {
        std::string text;
        int answer;
        std::uint32_t arcs;
    };
    const Row rows[] = {
        {"1.2.840", 1, 3},
        {"7", 1, 1},
        {"", 0, 0},
        {"1..2", 0, 1},
        {"1.2x", 0, 2},
        {"1.2.", 0, 2},
        {".1", 0, 0},
        {"x", 0, 0},
        {"1.4294967295.3", 1, 3},
        {"1.4294967296.3", 0, 1},
        {"1.-1", 0, 1},
        {longest, 1, 128},
        {longest + ".3", 0, 128},
        {"1.99999999999999999999999", 0, 1},
    };
    for (const Row& row : rows) {
        ASN1OBJID oid{};
        EXPECT_EQ(rtStrToOid(row.text.c_str(), &oid), row.answer) << row.text;
        EXPECT_EQ(oid.numids, row.arcs) << row.text;
    }
}

TEST(ObjectId, TextIsWrittenInWholeArcs) {
    const std::uint32_t arcs[] = {1, 2, 4294967295, 0};
    const ASN1TObjId oid(4, arcs);
    const std::string full = "1.2.4294967295.0";
    EXPECT_EQ(rtOidToStrLen(&oid), full.size());
    struct Row {
        std::uint32_t size;
        int answer;
        std::string text;
    };
    const Row rows[] = {
        {17, 1, full}, {16, 1, full}, {15, 0, "1.2.4294967295"}, {13, 0, "1.2"}, {2, 0, "1"}, {0, 0, ""},
    };
    for (const Row& row : rows) {
        // One octet behind the room for the text takes the NUL.
        std::vector<char> buffer(row.size + 1, '#');
        EXPECT_EQ(rtOidToStr(&oid, buffer.data(), row.size), row.answer) << row.size;
        EXPECT_STREQ(buffer.data(), row.text.c_str());
    }
    char empty[1] = {'#'};
    const ASN1TObjId none;
    EXPECT_EQ(rtOidToStr(&none, empty, 0), 1);
    EXPECT_STREQ(empty, "");
}

TEST(ObjectId, EqualityNeedsTheSameCountAndClearsTheFlagOtherwise) {
    const std::uint32_t arcs[] = {1, 2, 3};
    const ASN1TObjId three(3, arcs);
    const ASN1TObjId two(2, arcs);
    int flag = 5;
    EXPECT_EQ(rtCmpOID(nullptr, &three, &three, &flag), 1);
    EXPECT_EQ(flag, 5);
    EXPECT_EQ(rtCmpOIDValue(nullptr, &three, &two, &flag), 0);
    EXPECT_EQ(flag, 0);
    EXPECT_FALSE(three == two);
    EXPECT_TRUE(three == ASN1TObjId(three));
}

TEST(ObjectId, AClaimOfTooManyArcsStaysInsideTheRecord) {
    ASN1OBJID wild{};
    wild.numids = 0xFFFFFFFF;
    ASN1OBJID copy{};
    rtSetOID(&copy, &wild);
    EXPECT_EQ(copy.numids, wild.numids);
    EXPECT_TRUE(copy == wild);
    EXPECT_EQ(ASN1TObjId(wild).numids, 128U);
    EXPECT_EQ(arcsOf(ASN1TObjId(300, wild.subid)).size(), 128U);
    char text[257];
    EXPECT_EQ(rtOidToStr(&wild, text, 256), 1);
    EXPECT_EQ(rtOidToStrLen(&wild), 255U);
}

}  // namespace
