#include <iterator>
#include <stdexcept>
#include <string>

#include "asn1/names/attr_string_values.h"
#include "asn1/names/attribute_register.h"
#include "asn1/names/name.h"
#include "tests/asn1/value_fixture.h"

namespace {

using namespace Orvane::ASN1;
using namespace testkit;

TEST(NameText, KeepsTheOrderAndAppends) {
    CName name(L"O=Org");
    name.fromString(L"CN=Ivan");
    EXPECT_STREQ(name.toString().c_str(), L"O=Org,CN=Ivan");
    EXPECT_STREQ(name.front().front().get_type(), "2.5.4.10");
    EXPECT_FALSE(CRelativeDistinguishedName(L"CN=a+OU=b") == CRelativeDistinguishedName(L"OU=b+CN=a"));
    EXPECT_TRUE(CName(L"CN=a,O=b") == CName(L"CN=a,O=b"));
}

TEST(NameText, DoesNotTrimBlanks) {
    const CName name(L"CN=a, O=#00");
    EXPECT_STREQ(name.back().front().get_type(), " O") << "not a short name, so taken for an object identifier";
}

TEST(NameText, RefusesNullAndUnknownTypesWithoutAValue) {
    EXPECT_THAT(thrownStatus([] { CName name(nullptr); }), IsStatus(status::kInvalidArgument));
    EXPECT_THROW(CAttributeTypeAndValue(L"1.2.3=", kStringTypeDefault), std::out_of_range);
}

TEST(NameText, WritesTheStringTypeThatWasAskedFor) {
    EXPECT_EQ(hexOf(CAttributeTypeAndValue(L"CN=a", kStringTypePrintable).get_value()), "130161");
    EXPECT_EQ(hexOf(CAttributeTypeAndValue(L"CN=a", kStringTypeBMP).get_value()), "1e020061");
    EXPECT_FALSE(CAttributeTypeAndValue(L"CN=a", kStringTypeUTF8) ==
                 CAttributeTypeAndValue(L"CN=a", kStringTypePrintable));
}

TEST(NameText, BoundsTheLengthOfKnownValues) {
    const std::wstring longest(32768, L'\u0416');
    EXPECT_EQ(CATAVRegister::valueFromStr("2.5.4.3", longest.c_str(), kStringTypeDefault).cbData(), 65536U + 5U);
    EXPECT_THAT(
        thrownStatus([&] { CATAVRegister::valueFromStr("2.5.4.3", (longest + L"a").c_str(), kStringTypeDefault); }),
        IsStatus(status::kInvalidArgument));
}

TEST(AttributeRegister, AppendsACopyWithItsTexts) {
    {
        std::string oid = "0.9.2342.19200300.100.1.1";
        std::wstring name = L"UserIdentifier";
        const CATAVRegister added(oid.c_str(), name.c_str(), kStringTypeUTF8, 3);
        oid.assign(oid.size(), 'x');
        name.assign(name.size(), L'x');
    }
    const auto found = CATAVRegister::find(L"UserIdentifier");
    ASSERT_NE(found, CATAVRegister::registered().end());
    EXPECT_EQ(found->oid(), "0.9.2342.19200300.100.1.1");
    EXPECT_EQ(std::next(found), CATAVRegister::registered().end());
    EXPECT_EQ(CATAVRegister::registered().begin()->name(), L"CN");
    EXPECT_EQ(std::distance(CATAVRegister::registered().begin(), found), 22);
    EXPECT_STREQ(CName(L"CN=a,UserIdentifier=b").toString().c_str(), L"CN=a,UserIdentifier=b");
}

TEST(NameText, EditsOneElement) {
    CAttributeTypeAndValue element("2.5.4.3", blobFromHex("0c0161"));
    element.put_type_str(L"C");
    EXPECT_STREQ(element.get_type(), "2.5.4.6");
    element.put_value_str(L"RU", kStringTypeDefault);
    EXPECT_STREQ(element.toString().c_str(), L"C=RU");
    EXPECT_THAT(thrownStatus([&] { element.fromString(L"no equals", kStringTypeDefault); }),
                IsStatus(status::kInvalidArgument));
    EXPECT_STREQ(element.toString().c_str(), L"C=RU") << "unchanged";
    element.put_value(blobFromHex("0401aa"));
    EXPECT_THAT(thrownStatus([&] { element.toString(); }), IsStatus(status::kAsn1Error));
}

TEST(AttrStringValue, FixesTheTypeAndWidensTheText) {
    const CAttrCommonName name("\xD0\x96");
    EXPECT_STREQ(name.get_oid(), "2.5.4.3");
    EXPECT_EQ(hexOf(name.get_value()), "0c02d096");
    EXPECT_EQ(hexOf(CAttrCountry("RU").get_value()), "13025255");
    EXPECT_EQ(hexOf(CAttrEmailAddress("a@b").get_value()), "1603614062");
}

}  // namespace
