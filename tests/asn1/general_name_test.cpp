#include "asn1/names/general_name.h"

#include "asn1/names/name.h"
#include "tests/asn1/value_fixture.h"

namespace {

using Orvane::CBlob;
using namespace Orvane::ASN1;
using namespace testkit;

TEST(GeneralName, ShowsTheAlternativeThatWasDecoded) {
    const struct {
        unsigned int type;
        const wchar_t* (CGeneralName::*text)() const;  // null: octets
        const wchar_t* value;
        const wchar_t* shown;  // the kind, and one character of a text
        const char* der;
    } rows[] = {
        {CGeneralName::kRfc822Name, &CGeneralName::get_rfc822Name, L"a@b", L"rfc822Name: a", "8103614062"},
        {CGeneralName::kDNSName, &CGeneralName::get_dNSName, L"", L"dNSName: ", "8200"},
        {CGeneralName::kUniformResourceIdentifier, &CGeneralName::get_uniformResourceIdentifier, L"http://x/\u0416",
         L"uniformResourceIdentifier: h", "860b687474703a2f2f782fd096"},
        {CGeneralName::kRegisteredID, &CGeneralName::get_registeredID, L"1.2.840", L"registeredID: 1", "88032a8648"},
        {CGeneralName::kIPAddress, nullptr, nullptr, L"iPAddress: (to string is not implemented)", "87047f000001"},
        {CGeneralName::kDirectoryName, nullptr, nullptr, L"directoryName: CN=a", "a40e300c310a300806035504030c0161"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        CGeneralName decoded;
        decoded.decode(blobFromHex(row.der));
        ASSERT_EQ(decoded.get_type(), row.type);
        EXPECT_STREQ(decoded.toString().c_str(), row.shown);
        if (row.text != nullptr) {
            EXPECT_STREQ((decoded.*row.text)(), row.value);
        } else {
            const bool isAddress = row.type == CGeneralName::kIPAddress;
            EXPECT_EQ(hexOf(isAddress ? *decoded.get_iPAddress() : *decoded.get_directoryName()), row.der + 4);
        }
        EXPECT_TRUE(CGeneralName(decoded) == decoded);
    }
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
