#include "asn1rt/object_id.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "asn1rt/schema_types.h"
#include "tests/support/vectors.h"

namespace {

TEST(ObjectId, TextIsReadUpToTheFirstBadPieceAndWrittenInWholeArcs) {
    const auto read = [](const std::string& text) {
        ASN1OBJID oid{};
        const int answer = rtStrToOid(text.c_str(), &oid);
        return std::to_string(answer) + " " + std::to_string(oid.numids) + " arcs";
    };
    const auto write = [](const std::string& row) {
        const std::size_t size = std::stoul(row);
        const std::string text = row.substr(row.find(':') + 1);
        ASN1OBJID oid{};
        EXPECT_EQ(rtStrToOid(text.c_str(), &oid), 1);
        EXPECT_EQ(rtOidToStrLen(&oid), text.size());
        std::vector<char> buffer(size + 1, '#');  // the last octet takes the NUL
        const int answer = rtOidToStr(&oid, buffer.data(), static_cast<std::uint32_t>(size));
        return std::to_string(answer) + " " + buffer.data();
    };
    testkit::expectVectors("asn1rt/object_id.txt", {{"read", read}, {"write", write}});
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
