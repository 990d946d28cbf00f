#include "asn1/names/general_name.h"

#include "asn1/names/name.h"
#include "asn1/text/text_conversions.h"
#include "tests/asn1/value_fixture.h"
#include "tests/support/vectors.h"

namespace {

using Orvane::CBlob;
using namespace Orvane::ASN1;
using namespace testkit;

TEST(GeneralName, ShowsTheAlternativeThatWasDecoded) {
    testkit::expectVectors(
        "asn1/general_names.txt",
        {{"show", [](const std::string& notation) {
              CGeneralName name;
              name.decode(blob(testkit::octets(notation)));
              EXPECT_TRUE(CGeneralName(name) == name);
              std::string answer = tostring(name.toString().c_str());
              for (const auto get : {&CGeneralName::get_rfc822Name, &CGeneralName::get_dNSName,
                                     &CGeneralName::get_uniformResourceIdentifier, &CGeneralName::get_registeredID}) {
                  answer += (name.*get)() != nullptr ? " text " + tostring((name.*get)()) : "";
              }
              for (const auto get : {&CGeneralName::get_iPAddress, &CGeneralName::get_directoryName}) {
                  answer += (name.*get)() != nullptr ? " octets " + hexOf(*(name.*get)()) : "";
              }
              return std::to_string(name.get_type()) + " " + answer;
          }}});
}

TEST(GeneralName, HoldsOneAlternativeAtATime) {
    CGeneralName name;
    EXPECT_EQ(name.get_type(), 0U);
    EXPECT_EQ(name.get_dNSName(), nullptr);
    EXPECT_STREQ(name.toString().c_str(), L"");
    EXPECT_THAT(thrownStatus([&] { name.encode(); }), IsStatus(status::kInvalidArgument));

    name.put_directoryName(CName(L"CN=a").encode());
    name.put_dNSName(L"host");
    EXPECT_EQ(name.get_directoryName(), nullptr);
    EXPECT_STREQ(name.get_dNSName(), L"host");
    name.put_rfc822Name(name.get_dNSName());
    EXPECT_STREQ(name.get_rfc822Name(), L"host") << "a value of the object itself can be put back";
    const CGeneralName& same = name;
    name = same;
    EXPECT_STREQ(name.get_rfc822Name(), L"host");
    name.clear();
    EXPECT_EQ(name.get_type(), 0U);
    name.put_dNSName(nullptr);
    EXPECT_STREQ(name.get_dNSName(), L"");
}

TEST(GeneralName, ComparesTextsByTheirFirstCharacter) {
    CGeneralName first;
    CGeneralName second;
    EXPECT_TRUE(first == second);
    first.put_dNSName(L"alpha");
    EXPECT_FALSE(first == second);
    second.put_dNSName(L"another");
    EXPECT_TRUE(first == second);
    second.put_dNSName(L"beta");
    EXPECT_FALSE(first == second);
    second.put_dNSName(L"");
    EXPECT_FALSE(first == second);
    second.put_rfc822Name(L"alpha");
    EXPECT_FALSE(first == second) << "another alternative";
    first.put_iPAddress(blobFromHex("7f000001"));
    second.put_iPAddress(blobFromHex("7f000002"));
    EXPECT_FALSE(first == second) << "bytes are compared whole";
}

TEST(GeneralName, RefusesToEncodeMalformedContent) {
    CGeneralName name;
    name.put_registeredID(L"1.x");
    EXPECT_THAT(thrownStatus([&] { name.encode(); }), IsStatus(status::kInvalidArgument));
    name.put_directoryName(blobFromHex("0400"));
    EXPECT_THAT(thrownStatus([&] { name.encode(); }), IsStatus(status::kAsn1Error));
}

}  // namespace
