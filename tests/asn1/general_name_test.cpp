#include "asn1/names/general_name.h"

#include <gmock/gmock.h>

#include "asn1/names/name.h"
#include "handles/status.h"
#include "tests/asn1/blobs.h"
#include "tests/support/status_matcher.h"
#include "tests/support/tlv.h"

namespace {

using Orvane::CBlob;
using namespace Orvane::ASN1;
using namespace testkit;

const wchar_t* textOf(const CGeneralName& name) {
    for (const wchar_t* text :
         {name.get_rfc822Name(), name.get_dNSName(), name.get_uniformResourceIdentifier(), name.get_registeredID()}) {
        if (text != nullptr) {
            return text;
        }
    }
    return nullptr;
}

TEST(GeneralName, ShowsTheAlternativeThatWasDecoded) {
    const struct {
        unsigned int type;
        const wchar_t* text;  // null: octets
        const char* der;
    } rows[] = {
        {CGeneralName::kRfc822Name, L"a@b", "8103614062"},
        {CGeneralName::kDNSName, L"", "8200"},
        {CGeneralName::kUniformResourceIdentifier, L"http://x/\u0416", "860b687474703a2f2f782fd096"},
        {CGeneralName::kRegisteredID, L"1.2.840", "88032a8648"},
        {CGeneralName::kIPAddress, nullptr, "87047f000001"},
        {CGeneralName::kDirectoryName, nullptr, "a40e300c310a300806035504030c0161"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        CGeneralName decoded;
        decoded.decode(blobFromHex(row.der));
        ASSERT_EQ(decoded.get_type(), row.type);
        if (row.text != nullptr) {
            EXPECT_STREQ(textOf(decoded), row.text);
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
    EXPECT_EQ(textOf(name), nullptr);
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

TEST(GeneralName, ShowsTheKindAndOneCharacter) {
    CGeneralName name;
    name.put_rfc822Name(L"user");
    EXPECT_STREQ(name.toString().c_str(), L"rfc822Name: u");
    name.put_dNSName(L"");
    EXPECT_STREQ(name.toString().c_str(), L"dNSName: ");
    name.put_uniformResourceIdentifier(L"http://x");
    EXPECT_STREQ(name.toString().c_str(), L"uniformResourceIdentifier: h");
    name.put_registeredID(L"1.2");
    EXPECT_STREQ(name.toString().c_str(), L"registeredID: 1");
    name.put_iPAddress(blobFromHex("7f000001"));
    EXPECT_STREQ(name.toString().c_str(), L"iPAddress: (to string is not implemented)");
    name.put_directoryName(CName(L"CN=a,O=b").encode());
    EXPECT_STREQ(name.toString().c_str(), L"directoryName: CN=a,O=b");
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
