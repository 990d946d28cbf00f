#include "asn1/codec/codec.h"

#include "asn1/algorithms/big_integer_traits.h"
#include "asn1/algorithms/certificate_traits.h"
#include "asn1/attributes/attribute.h"
#include "asn1/extensions/extensions_traits.h"
#include "asn1/names/general_name.h"
#include "asn1/names/name_traits.h"
#include "asn1/status/pki_status.h"
#include "asn1/text/primitive_traits.h"
#include "asn1/text/time_text.h"
#include "asn1rt/memory_heap.h"
#include "tests/asn1/value_fixture.h"
#include "tests/support/allocation_sweep.h"
#include "tests/support/pki.h"

namespace {

using Orvane::CBlob;
using Orvane::CDateTime;
using namespace Orvane::ASN1;
using namespace testkit;

class Codec : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(context_.init()); }
    ASN1CTXT* ctxt() { return context_.get(); }

private:
    ctxt_handle context_;
};

TEST_F(Codec, DecodesIntoMemoryOfTheGivenContext) {
    asn1data::ASN1T_Name record;
    {
        const CBlob name = blob(Pki::shared().good.subject());
        ASN1T_Name_traits::set(ctxt(), record, name);
    }
    CBlob again;
    ASN1T_Name_traits::get(record, again);  // the bytes decoded from are gone
    EXPECT_EQ(again, blob(Pki::shared().good.subject()));
    ASN1T_Name_traits::get(record, again);
    EXPECT_EQ(again, blob(Pki::shared().good.subject())) << "encoding twice";

    asn1data::ASN1T_Name copy;
    ASN1T_Name_traits::copy(ctxt(), record, copy);
    CName name;
    ASN1T_Name_traits::get(copy, name);
    EXPECT_STREQ(name.toString().c_str(), L"CN=good");
}

TEST_F(Codec, CarriesACertificateThroughItsRecord) {
    const CBlob certificate = blob(Pki::shared().good.certificate);
    asn1data::ASN1T_Certificate record;
    ASN1T_Certificate_traits::set(ctxt(), record, certificate);
    CBlob again;
    ASN1T_Certificate_traits::get(record, again);
    EXPECT_EQ(again, certificate);

    CExtensions extensions;
    ASN1T_Extensions_traits::get(record.tbsCertificate.extensions, extensions);
    EXPECT_NE(extensions.find("2.5.29.35"), extensions.end());
    EXPECT_NE(extensions.find("2.5.29.35")->get_extnValue().cbData(), 0U) << "readable after an encoding too";

    for (std::size_t size = 0; size < certificate.cbData(); size += 17) {
        asn1data::ASN1T_Certificate cut;
        EXPECT_THAT(
            thrownStatus([&] { ASN1T_Certificate_traits::set(ctxt(), cut, CBlob(certificate.pbData(), size)); }),
            IsStatus(status::kAsn1Error))
            << size;
    }
}

TEST_F(Codec, CopiesListsElementByElement) {
    CExtensions values;
    values.insert(CExtension(CExtValue("1.2.3", blobFromHex("01")), true));
    values.insert(CExtension(CExtValue("2.5.29.21", blobFromHex("0a0101")), false));
    asn1data::ASN1T_Extensions record;
    ASN1T_Extensions_traits::set(ctxt(), record, values);
    asn1data::ASN1T_Extensions copy;
    ASN1T_Extensions_traits::copy(ctxt(), record, copy);
    EXPECT_EQ(copy.count, 2U);
    CExtensions again;
    again.insert(CExtension(CExtValue("1.2.9"), false));
    ASN1T_Extensions_traits::get(copy, again);
    EXPECT_TRUE(again == values);

    ASN1T_Extensions_traits::set(ctxt(), record, CExtensions());
    EXPECT_EQ(record.count, 0U);
    EXPECT_EQ(record.pHead, nullptr);
}

TEST_F(Codec, MovesPrimitiveValuesBothWays) {
    const char* text = nullptr;
    Orvane::CWStringProxy wide(nullptr);
    for (const wchar_t* value : {L"", L"a", L"\u0416\U0001F600"}) {
        ASN1UTF8String_traits::set(ctxt(), text, value);
        ASN1UTF8String_traits::get(text, wide);
        EXPECT_STREQ(wide.c_str(), value);
    }
    const wchar_t negative[] = {static_cast<wchar_t>(-5), 0};
    EXPECT_THAT(thrownStatus([&] { ASN1UTF8String_traits::set(ctxt(), text, negative); }),
                IsStatus(status::kInvalidArgument));
    for (const char* bad : {"\xFF", "\xC3\x28"}) {
        EXPECT_THAT(thrownStatus([&] { ASN1UTF8String_traits::get(bad, wide); }), IsStatus(status::kAsn1Error));
    }

    const char* copy = nullptr;
    ASN1UTF8String_traits::copy(ctxt(), text, copy);
    EXPECT_STREQ(copy, text);
    EXPECT_NE(copy, text);
    ASN1UTF8String_traits::copy(ctxt(), nullptr, copy);
    EXPECT_EQ(copy, nullptr);
    ASN1IA5String_traits::copy(ctxt(), text, copy);
    EXPECT_EQ(copy, text) << "shares the text";

    ASN1TDynBitStr bits{};
    const std::uint8_t octets[] = {0xAB, 0x80};
    bits = {9, octets};
    CBlob bytes;
    ASN1TDynBitStr_traits::get(bits, bytes);
    EXPECT_EQ(hexOf(bytes), "ab80");
    ASN1TDynBitStr_traits::set(ctxt(), bits, bytes);
    EXPECT_EQ(bits.numbits, 16U) << "unused bits are lost";
}

TEST_F(Codec, CopiesTimesInWholeSecondsAndHoldsBigIntegersAsText) {
    const CDateTime time(2024, 2, 29, 12, 0, 0, 700, 0);
    EXPECT_STREQ(DateToASN1GeneralizedTime(ctxt(), time, false), "20240229120000.7Z");
    const char* copy = nullptr;
    ASN1GeneralizedTime_traits::copy(ctxt(), "20240229120000.7Z", copy);
    EXPECT_STREQ(copy, "20240229120000Z");
    EXPECT_STREQ(DWORDToASN1BigInteger(ctxt(), 0x01020304), "0x01020304");
    EXPECT_NE(ASN1BigIntegerToDWORD(DWORDToASN1BigInteger(ctxt(), 0x0102)), 0x0102U) << "not each other's inverse";
}

template <class Value, auto... kArguments>
CBlob decodedAndEncoded(const CBlob& data) {
    Value value(kArguments...);
    value.decode(data);
    return value.encode();
}

TEST_F(Codec, ReportsExhaustedMemoryByItsOwnStatuses) {
    const Bytes names = tlv::sequence({tlv::context(4, Pki::shared().good.subject())});
    const Bytes extension = tlv::sequence({tlv::oid("2.5.29.17"), tlv::octetString(names)});
    const struct {
        CBlob data;
        CBlob (*again)(const CBlob&);
    } rows[] = {
        {blob(tlv::sequence({extension, extension})), decodedAndEncoded<CExtensions>},
        {blob(tlv::set({tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String("a")}),
                        tlv::sequence({tlv::oid("2.5.4.10"), tlv::utf8String("b")})})),
         decodedAndEncoded<CRelativeDistinguishedName>},
        {blob(names), decodedAndEncoded<CGeneralNames>},
        {blob(tlv::set({tlv::sequence({tlv::oid("1.2.840.113549.1.9.3"), tlv::set({tlv::oid("1.2.3")})}),
                        tlv::sequence({tlv::oid("1.2.840.113549.1.9.14"), tlv::set({tlv::sequence({extension})})})})),
         decodedAndEncoded<CAttributes>},
        {blob(tlv::sequence({tlv::integer(2), tlv::sequence({tlv::utf8String("a"), tlv::utf8String("b")}),
                             tlv::bitString(fromHex("80"), 7)})),
         decodedAndEncoded<CPKIStatusInfo, kStatusAccepted>},
    };
    g_malloc_func = [](void* user, std::size_t size) {
        return isAllocationGranted() ? rtDefaultMalloc(user, size) : nullptr;
    };
    for (const auto& row : rows) {
        const std::string name = hexOf(row.data);
        const std::vector<std::int32_t> thrown = statusesOfFailures(name.c_str(), [&] { row.again(row.data); });
        EXPECT_GT(thrown.size(), 10U) << name;
        EXPECT_THAT(thrown, testing::Each(IsStatus(status::kAsn1Memory))) << name;
    }
    g_malloc_func = rtDefaultMalloc;
}

}  // namespace
