#include "asn1/extensions/extensions.h"

#include "asn1/extensions/typed_extensions.h"
#include "tests/asn1/value_fixture.h"

namespace {

using Orvane::CBlob;
using Orvane::CDateTime;
using namespace Orvane::ASN1;
using namespace testkit;

constexpr const char* kNonceOid = "1.3.6.1.5.5.7.48.1.2";

CExtension extension(const char* oid, std::string_view hex, bool critical) {
    return CExtension(CExtValue(oid, blobFromHex(hex)), critical);
}

TEST(Extension, ComparesEveryMember) {
    const CExtension sample = extension(kNonceOid, "0102", true);
    CExtension decoded;
    decoded.decode(sample.encode());
    EXPECT_TRUE(decoded == sample);
    EXPECT_FALSE(decoded == extension(kNonceOid, "0102", false));
    EXPECT_FALSE(decoded == extension(kNonceOid, "0103", true));
    EXPECT_FALSE(decoded == extension("1.2.3", "0102", true));
}

TEST(Extensions, KeepOneEntryForEachIdentifier) {
    CExtensions list;
    list.insert(extension("2.5.29.21", "0a0101", false));
    list.insert(extension("1.2.3", "01", false));
    list.insert(extension("2.5.29.21", "0a0102", true));
    ASSERT_EQ(list.size(), 2U);
    EXPECT_TRUE(list.front() == extension("2.5.29.21", "0a0102", true)) << "overwritten where it stood";
    EXPECT_EQ(list.find("2.5.29.2"), list.end());
    list.erase("2.5.29.2");
    list.erase("2.5.29.21");
    ASSERT_EQ(list.size(), 1U);
    EXPECT_STREQ(list.front().get_extnID(), "1.2.3");
}

TEST(Extensions, ReplaceTheContentAndKeepTheWireOrder) {
    const Bytes der = tlv::sequence({tlv::sequence({tlv::oid("1.2.4"), tlv::octetString({})}),
                                     tlv::sequence({tlv::oid("1.2.3"), tlv::octetString({})}),
                                     tlv::sequence({tlv::oid("1.2.4"), tlv::octetString(fromHex("01"))})});
    CExtensions list;
    list.insert(extension("1.2.9", "", false));
    list.decode(blob(der));
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list.find("1.2.4"), list.begin()) << "the first of several";

    CExtensions reordered = list;
    EXPECT_TRUE(reordered == list);
    reordered.splice(reordered.begin(), reordered, std::next(reordered.begin()));
    EXPECT_FALSE(reordered == list);
}

TEST(TypedExtension, KeepsValueAndMemberInStep) {
    CExtCRLReason reason;
    EXPECT_STREQ(reason.get_oid(), "2.5.29.21");
    EXPECT_EQ(reason.get_value().cbData(), 0U);
    EXPECT_EQ(hexOf(CExtCRLReason(kReasonUnspecified).get_value()), "0a0100");
    reason.put_reason(kReasonSuperseded);
    EXPECT_EQ(hexOf(reason.get_value()), "0a0104");
    EXPECT_EQ(CExtCRLReason(reason.get_value()).get_reason(), kReasonSuperseded);
    EXPECT_THAT(thrownStatus([&] { reason.put_reason(static_cast<CrlReason>(11)); }), IsStatus(status::kAsn1Error));
    EXPECT_EQ(hexOf(reason.get_value()), "0a0104");

    CExtHoldInstructionCode code("1.2.840.10040.2.2");
    EXPECT_EQ(hexOf(code.get_value()), toHex(tlv::oid("1.2.840.10040.2.2")));
    EXPECT_STREQ(CExtHoldInstructionCode(code.get_value()).get_code(), "1.2.840.10040.2.2");
    EXPECT_THAT(thrownStatus([&] { code.put_code("hold"); }), IsStatus(status::kInvalidArgument));

    const CExtInvalidityDate date(CDateTime(2024, 2, 29, 12, 0, 0, 700, 0));
    EXPECT_EQ(hexOf(date.get_value()), toHex(tlv::generalizedTime("20240229120000Z"))) << "cut, not rounded";
    EXPECT_EQ(CExtInvalidityDate(date.get_value()).get_invalidityDate(), CDateTime(2024, 2, 29, 12, 0, 0, 0, 0));
    EXPECT_EQ(CExtInvalidityDate().get_invalidityDate().getTime(), 0);

    CGeneralName name;
    name.put_dNSName(L"ca");
    CGeneralNames names;
    names.push_back(name);
    const CExtCertificateIssuer issuer(names);
    EXPECT_EQ(hexOf(issuer.get_value()), toHex(tlv::sequence({tlv::contextPrimitive(2, bytesOf("ca"))})));
    EXPECT_STREQ(CExtCertificateIssuer(issuer.get_value()).get_issuer().front().get_dNSName(), L"ca");
}

TEST(TypedExtension, ThrowsFromTheConstructorForABadValue) {
    const CBlob bad = blobFromHex("3005");
    EXPECT_THAT(thrownStatus([&] { CExtCRLReason value(bad); }), IsStatus(status::kAsn1Error));
    EXPECT_THAT(thrownStatus([&] { CExtHoldInstructionCode value(bad); }), IsStatus(status::kAsn1Error));
    EXPECT_THAT(thrownStatus([&] { CExtInvalidityDate value(bad); }), IsStatus(status::kAsn1Error));
    EXPECT_THAT(thrownStatus([&] { CExtCertificateIssuer value(bad); }), IsStatus(status::kAsn1Error));
    EXPECT_THAT(thrownStatus([&] { CExtPrivateKeyUsagePeriod value(bad); }), IsStatus(status::kAsn1Error));
    EXPECT_THAT(thrownStatus([] { CExtInvalidityDate value(blob(tlv::generalizedTime("2024x229120000Z"))); }),
                IsStatus(status::kInvalidTime));
}

TEST(TypedExtension, LeavesOutTimesThatAreRemoved) {
    const CDateTime from(2024, 1, 1, 0, 0, 0, 0, 0);
    const CDateTime to(2025, 1, 1, 0, 0, 0, 0, 0);
    const Bytes notBefore = tlv::contextPrimitive(0, bytesOf("20240101000000Z"));
    const Bytes notAfter = tlv::contextPrimitive(1, bytesOf("20250101000000Z"));
    CExtPrivateKeyUsagePeriod period(&from, &to);
    EXPECT_EQ(hexOf(period.get_value()), toHex(tlv::sequence({notBefore, notAfter})));
    period.put_notBefore(nullptr);
    EXPECT_EQ(hexOf(period.get_value()), toHex(tlv::sequence({notAfter})));
    EXPECT_EQ(period.get_notBefore(), nullptr);
    period.put_notAfter(period.get_notAfter());
    EXPECT_EQ(*period.get_notAfter(), to);

    const CExtPrivateKeyUsagePeriod read(blob(tlv::sequence({tlv::contextPrimitive(0, bytesOf("20240101000000.7Z"))})));
    EXPECT_EQ(hexOf(read.get_value()), toHex(tlv::sequence({notBefore}))) << "encoded afresh from what was read";
    EXPECT_EQ(read.get_notAfter(), nullptr);
    const CExtPrivateKeyUsagePeriod copy = read;
    EXPECT_NE(copy.get_notBefore(), read.get_notBefore());
}

}  // namespace
