#include "asn1/status/pki_status.h"
#include "asn1/status/info_type_and_value.h"
#include "asn1/status/rev_ann_content.h"
#include "tests/asn1/value_fixture.h"

namespace {

using Orvane::CDateTime;
using namespace Orvane::ASN1;
using namespace testkit;

/// The texts with their languages, one a line.
std::string show(const CPKIFreeText& text) {
    std::string result;
    for (const CPKIFreeTextString& entry : text) {
        result += std::string(entry.get_language().c_str()) + "=";
        for (const wchar_t* c = entry.get_value(); *c != L'\0'; ++c) {
            result += *c < 0x80 ? static_cast<char>(*c) : '?';
        }
        result += ' ';
    }
    return result;
}

TEST(LanguageTag, IsLowerCase) {
    EXPECT_TRUE(CLanguageTag("RU-RU") == CLanguageTagRuRu());
    EXPECT_TRUE(CLanguageTag(L"En-uS") == CLanguageTagEnUs());
    EXPECT_FALSE(CLanguageTag("en") == CLanguageTagEnUs());
    EXPECT_STREQ(CLanguageTag("\xC0[Z").c_str(), "\xC0[z") << "nothing but A to Z";
    EXPECT_STREQ(CLanguageTag(static_cast<const char*>(nullptr)).c_str(), "");
}

TEST(FreeText, KeepsOneTextForEachLanguageAndAnyNumberWithoutOne) {
    CPKIFreeText text;
    EXPECT_EQ(text.find(CLanguageTagDefaultRead()), text.end());
    text.insert({"a", CLanguageTagEnUs()});
    text.insert({"b", CLanguageTagDefaultRead()});
    text.insert({"c", CLanguageTag("RU-ru")});
    text.insert({"d", CLanguageTagRuRu()});
    text.insert({"e", CLanguageTagDefaultRead()});
    EXPECT_EQ(show(text), "en-us=a *=b ru-ru=d *=e ");
    EXPECT_STREQ(text.find(CLanguageTagDefaultRead())->get_value(), L"a") << "the first, whatever its language";
    EXPECT_STREQ(text.find(CLanguageTagRuRu())->get_value(), L"d");
    EXPECT_EQ(text.find(CLanguageTag("de")), text.end());

    text.emplace_back(L"f", CLanguageTagEnUs());  // as a decoded list may hold it
    text.insert({"g", CLanguageTagEnUs()});
    EXPECT_EQ(show(text), "en-us=g *=b ru-ru=d *=e en-us=f ");
    text.remove(text.front().get_language());  // a tag that goes with its entry
    EXPECT_EQ(show(text), "*=b ru-ru=d *=e ");
    text.remove(CLanguageTagDefaultRead());
    EXPECT_TRUE(text.empty());
}

TEST(FreeText, ConvertsToItsFirstEntry) {
    CPKIFreeText text(L"a", CLanguageTagRuRu());
    text.insert({"b", CLanguageTagEnUs()});
    const CPKIFreeTextString first = text;
    EXPECT_STREQ(first.get_value(), L"a");
    static_cast<CPKIFreeTextString&>(text).set_value(L"c");
    EXPECT_STREQ(text.front().get_value(), L"c");

    CPKIFreeText empty;
    const auto byReference = [&] { static_cast<void>(static_cast<CPKIFreeTextString&>(empty)); };
    const auto byValue = [&] { const CPKIFreeTextString copy = static_cast<const CPKIFreeText&>(empty); };
    EXPECT_THAT(thrownStatus(byReference), IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus(byValue), IsStatus(status::kInvalidArgument));
}

TEST(FreeText, CarriesTheLanguageInFrontOfTheText) {
    // U+0E01, U+0E72, U+0E75, U+0E2D, U+0E72, U+0E75, U+0E7E
    const std::string russian = "\u0E01\u0E72\u0E75\u0E2D\u0E72\u0E75\u0E7E\u041D\u0435\u0442";
    CPKIFreeText text(L"\u041D\u0435\u0442", CLanguageTagRuRu());
    text.insert({L"no", CLanguageTagDefaultRead()});
    text.insert({L"\u0E7E\U0001F600", CLanguageTag()});
    CPKIStatusInfo info(kStatusAccepted);
    info.put_statusString(text);
    const Bytes texts = tlv::sequence(
        {tlv::utf8String(russian), tlv::utf8String("no"), tlv::utf8String("\u0E01\u0E7E\u0E7E\U0001F600")});
    const Bytes encoded = tlv::sequence({tlv::integer(0), texts});
    EXPECT_EQ(hexOf(info.encode()), toHex(encoded));
    CPKIStatusInfo again(kStatusRejection);
    again.decode(blob(encoded));
    EXPECT_TRUE(again.get_statusString() == text);
}

TEST(FreeText, RefusesToEncodeNegativeCharacters) {
    CPKIStatusInfo info(kStatusWaiting);
    const wchar_t negative[] = {static_cast<wchar_t>(-5), 0};
    info.put_statusString(CPKIFreeText(negative, CLanguageTagDefaultRead()));
    EXPECT_THAT(thrownStatus([&] { info.encode(); }), IsStatus(status::kAsn1Error));
}

TEST(FailureInfo, Has32Bits) {
    CPKIFailureInfo failure(0x55);
    failure.decode(blob(tlv::raw(0x03, fromHex("0500000020"))));
    EXPECT_EQ(failure.get_value(), 1U << 26);
    failure.decode(blob(tlv::raw(0x03, fromHex("00ffffffffffff"))));
    EXPECT_EQ(failure.get_value(), 0xFFFFFFFFU);
    failure.put_bit(31, false);
    EXPECT_TRUE(failure.get_bit(30) && !failure.get_bit(31));
    EXPECT_THAT(thrownStatus([&] { failure.put_bit(32, false); }), IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(failure.get_bit(32)); }), IsStatus(status::kInvalidArgument));
}

TEST(InfoTypeAndValueList, KeepsOneItemForEachIdentifier) {
    CInfoTypeAndValueList items;
    items.insert(CInfoTypeAndValue("1.2.3", blob(tlv::null())));
    items.insert(CInfoTypeAndValue("1.2.4"));
    items.insert(CInfoTypeAndValue("1.2.3", blob(tlv::integer(5))));
    const Bytes encoded =
        tlv::sequence({tlv::sequence({tlv::oid("1.2.3"), tlv::integer(5)}), tlv::sequence({tlv::oid("1.2.4")})});
    EXPECT_EQ(hexOf(items.encode()), toHex(encoded));
    CInfoTypeAndValueList again;
    again.emplace_back("1.2.9");
    again.decode(blob(encoded));
    EXPECT_TRUE(again == items);
    again.remove("1.2.3");
    EXPECT_EQ(again.find("1.2.3"), again.end());
    again.remove("1.2.3");
    EXPECT_EQ(again.size(), 1U);
    // signKeyPairTypes is a SEQUENCE OF AlgorithmIdentifier.
    EXPECT_THAT(thrownStatus([] {
                    CInfoTypeAndValueList{CInfoTypeAndValue("1.3.6.1.5.5.7.4.2", blob(tlv::integer(1)))}.encode();
                }),
                IsStatus(status::kAsn1Error));
}

TEST(RevAnnContent, CarriesWholeSecondsAndNoEmptyDetails) {
    CGeneralName issuer;
    issuer.put_dNSName(L"ca");
    const CCertId certId(issuer, CBigInteger(fromHex("0080").data(), 2));
    const Bytes certIdDer = tlv::sequence({tlv::contextPrimitive(2, bytesOf("ca")), tlv::integer(128)});
    EXPECT_EQ(hexOf(certId.encode()), toHex(certIdDer));
    const auto announcement = [&](const Bytes& details) {
        return tlv::sequence({concat({tlv::integer(5), certIdDer, tlv::generalizedTime("20500101000000Z"),
                                      tlv::generalizedTime("20260102030405Z"), details})});
    };
    const CExtensions none;
    CRevAnnContent content(kStatusRevocationNotification, certId, CDateTime(2050, 1, 1, 0, 0, 0, 0, 0),
                           CDateTime(2026, 1, 2, 3, 4, 5, 700, 0));
    content.put_crlDetails(&none);
    EXPECT_EQ(hexOf(content.encode()), toHex(announcement({})));
    const Bytes details = tlv::sequence({tlv::sequence({tlv::oid("2.5.29.20"), tlv::octetString(tlv::integer(9))})});
    CRevAnnContent again;
    again.decode(blob(announcement(details)));
    EXPECT_EQ(again.get_status(), kStatusRevocationNotification);
    EXPECT_TRUE(again.get_certId() == certId);
    EXPECT_EQ(again.get_badSinceDate(), CDateTime(2026, 1, 2, 3, 4, 5, 0, 0));
    EXPECT_EQ(hexOf(again.encode()), toHex(announcement(details)));
    const CRevAnnContent copy = again;
    again.decode(content.encode());
    EXPECT_EQ(again.get_crlDetails(), nullptr);
    EXPECT_STREQ(copy.get_crlDetails()->front().get_extnID(), "2.5.29.20");
}

}  // namespace
