#include "asn1rt/object_id.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "asn1rt/schema_types.h"

namespace {

TEST(ObjectId, TextIsReadUpToTheFirstBadPiece) {
    std::string longest = "1";
    for (int i = 1; i < 128; ++i) {
        longest += ".2";
    }
    const std::tuple<std::string, int, std::uint32_t> rows[] = {{"1.2.840", 1, 3},
                                                                {"", 0, 0},
                                                                {"1..2", 0, 1},
                                                                {"1.2.", 0, 2},
                                                                {".1", 0, 0},
                                                                {"1.4294967296.3", 0, 1},
                                                                {"1.-1", 0, 1},
                                                                {longest, 1, 128},
                                                                {longest + ".3", 0, 128},
                                                                {"1.99999999999999999999999", 0, 1}};
    for (const auto& [text, answer, arcs] : rows) {
        ASN1OBJID oid{};
        EXPECT_EQ(rtStrToOid(text.c_str(), &oid), answer) << text;
        EXPECT_EQ(oid.numids, arcs) << text;
    }
}

TEST(ObjectId, TextIsWrittenInWholeArcs) {
    const std::uint32_t arcs[] = {1, 2, 4294967295, 0};
    const ASN1TObjId oid(4, arcs);
    const std::string full = "1.2.4294967295.0";
    EXPECT_EQ(rtOidToStrLen(&oid), full.size());
    const std::tuple<std::uint32_t, int, std::string> rows[] = {
        {16, 1, full}, {15, 0, "1.2.4294967295"}, {13, 0, "1.2"}, {2, 0, "1"}, {0, 0, ""},
    };
    for (const auto& [size, answer, text] : rows) {
        // One octet after the room for the text takes the NUL.
        std::vector<char> buffer(size + 1, '#');
        EXPECT_EQ(rtOidToStr(&oid, buffer.data(), size), answer) << size;
        EXPECT_STREQ(buffer.data(), text.c_str());
    }
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
    ASN1TObjId copy;
    EXPECT_EQ(rtCopyOID(nullptr, &three, &copy), 1);
    EXPECT_TRUE(copy == three);
    EXPECT_EQ(rtCopyOID(nullptr, &two, &copy), 1);  // no arc of what was there before counts
    EXPECT_TRUE(copy == two);
    EXPECT_EQ(rtCopyOID(nullptr, nullptr, &copy) + rtCopyOID(nullptr, &three, nullptr), 0);
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
    EXPECT_EQ(ASN1TObjId(300, wild.subid).numids, 128U);
    char text[257];
    EXPECT_EQ(rtOidToStr(&wild, text, 256), 1);
    EXPECT_EQ(rtOidToStrLen(&wild), 255U);
}

}  // namespace
