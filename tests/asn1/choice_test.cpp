#include "asn1/codec/choice.h"

#include <string>

#include "asn1/attributes/other_hash.h"
#include "asn1/codec/choice_holder.h"
#include "asn1/text/time_choice.h"
#include "tests/asn1/value_fixture.h"

namespace {

using Orvane::CBlob;
using Orvane::CDateTime;
using namespace Orvane::ASN1;
using namespace testkit;

// Supports alternative 3 with a text.
class TextHolder final : public Choice {
public:
    ~TextHolder() override { destroyValue(); }
    const ChoiceValueTraits* findTraits(unsigned int type) const override {
        const ChoiceValueTraits* const text = &ChoiceValueTraitsT<std::string, 3>::instance;
        return type == 3 ? text : &NoChoiceValue::instance;
    }
};

TEST(Choice, ReplacesTheValueByACopy) {
    TextHolder holder;
    EXPECT_EQ(holder.get<std::string>(3), nullptr);
    const std::string text = "first";
    holder.put(3, &text);
    holder.put(3, holder.value());
    EXPECT_EQ(*holder.get<std::string>(3), "first");

    TextHolder other;
    other.copyFrom(holder);
    EXPECT_EQ(*other.get<std::string>(3), "first");
    EXPECT_NE(other.value(), holder.value());
    other.copyFrom(TextHolder());
    EXPECT_EQ(other.type(), 0U);

    EXPECT_THAT(thrownStatus([&] { holder.put(4, &text); }), IsStatus(status::kInvalidArgument));
    EXPECT_EQ(*holder.get<std::string>(3), "first") << "an alternative without support changes nothing";
    EXPECT_TRUE(NoChoiceValue::instance.isType(0));
    EXPECT_FALSE(NoChoiceValue::instance.isType(4));
}

TEST(TimeChoice, FollowsTheYear) {
    const CTimeChoice last(CDateTime(2049, 12, 31, 23, 59, 59, 700, 0));
    EXPECT_EQ(last.get_type(), 1U);
    EXPECT_EQ(hexOf(last.encode()), toHex(tlv::utcTime("491231235959Z"))) << "cut to seconds";
    const CTimeChoice next(CDateTime(2050, 1, 1, 0, 0, 0, 0, 0));
    EXPECT_EQ(next.get_type(), 2U);
    EXPECT_EQ(hexOf(next.encode()), toHex(tlv::generalizedTime("20500101000000Z")));
    CTimeChoice decoded;
    EXPECT_EQ(decoded.get_time()->getTime(), 0);
    decoded.decode(blob(tlv::generalizedTime("20240229120000Z")));
    EXPECT_EQ(decoded.get_type(), 1U) << "by the rule, whatever it was read from";
    EXPECT_EQ(*decoded.get_time(), CDateTime(2024, 2, 29, 12, 0, 0, 0, 0));
    decoded.clear();
    EXPECT_EQ(decoded.get_time(), nullptr);
    EXPECT_THAT(thrownStatus([&] { decoded.encode(); }), IsStatus(status::kAsn1Error));
}

TEST(OtherHash, ComparesHashesWithAndWithoutTheirAlgorithm) {
    const CBlob hash = blobFromHex("0102");
    const COtherHash sha256(COtherHashAlgAndValue(CAlgorithmIdentifier("2.16.840.1.101.3.4.2.1"), hash));
    const COtherHash sha512(COtherHashAlgAndValue(CAlgorithmIdentifier("2.16.840.1.101.3.4.2.3"), hash));
    const COtherHash sha1(hash);
    EXPECT_TRUE(sha256.compare_hashValue(sha512));
    EXPECT_FALSE(sha256 == sha512);
    EXPECT_FALSE(sha1.compare_hashValue(sha256)) << "another alternative";
    EXPECT_TRUE(sha1 == COtherHash(hash));
    EXPECT_TRUE(COtherHash() == COtherHash());
}

}  // namespace
