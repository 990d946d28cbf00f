#include <functional>
#include <utility>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/algorithms/big_integer.h"
#include "asn1/attributes/attribute.h"
#include "asn1/attributes/certificate_values.h"
#include "asn1/attributes/content_info.h"
#include "asn1/attributes/other_cert_id.h"
#include "asn1/extensions/access_description.h"
#include "asn1/extensions/distribution_point.h"
#include "asn1/extensions/extensions.h"
#include "asn1/extensions/policy_information.h"
#include "asn1/names/issuer_serial.h"
#include "asn1/names/name.h"
#include "asn1/status/info_type_and_value.h"
#include "asn1/status/rev_ann_content.h"
#include "asn1/text/time_choice.h"
#include "tests/asn1/value_fixture.h"

namespace {

using Orvane::CDateTime;
using namespace Orvane::ASN1;
using namespace testkit;

constexpr const char* kOcspMethod = "1.3.6.1.5.5.7.48.1";

CAttribute digestAttribute(const Bytes& value) {
    CAttribute attribute("1.2.840.113549.1.9.4");
    attribute.add(blob(value));
    return attribute;
}

TEST(ValueClasses, RefuseToEncodeWhatIsIncompleteOrMalformed) {
    const std::pair<std::int32_t, std::function<void()>> rows[] = {
        {status::kAsn1Error, [] { CBigInteger().encode(); }},
        {status::kInvalidArgument, [] { CAccessDescription().encode(); }},
        {status::kInvalidArgument, [] { CAccessDescription(kOcspMethod, CGeneralName()).encode(); }},
        {status::kAsn1Error, [] { CDistributionPointName().encode(); }},
        {status::kAsn1Error, [] { CAlgorithmIdentifier("RSA").encode(); }},
        {status::kAsn1Error, [] { CRelativeDistinguishedName().encode(); }},
        {status::kInvalidArgument, [] { CPolicyInformation("policy").encode(); }},
        {status::kInvalidArgument, [] { CAttribute("name").encode(); }},
        {status::kAsn1Error, [] { digestAttribute(tlv::integer(1)).encode(); }},
        {status::kInvalidArgument, [] { CContentInfo("data", blob(tlv::null())).encode(); }},
        {status::kAsn1Error, [] { CCertificateValue(blob(tlv::null())).encode(); }},
        {status::kAsn1Error, [] { COtherCertID().encode(); }},
        {status::kInvalidArgument, [] { CRevAnnContent().encode(); }},
        {status::kInvalidArgument, [] { CExtension(CExtValue("1.2.x"), false).encode(); }},
        {status::kInvalidArgument, [] { CExtension(CExtValue(""), false).encode(); }},
        {status::kAsn1Error, [] { CExtension(CExtValue("1"), false).encode(); }},  // a text, but no identifier
        {status::kAsn1Error, [] { CExtension(CExtValue("2.5.29.21", blobFromHex("0a010b")), false).encode(); }},
        {status::kAsn1Error, [] { CExtensions().encode(); }},
        {status::kAsn1Error, [] { CTimeChoice(CDateTime(1949, 1, 1, 0, 0, 0, 0, 0)).encode(); }},
        {status::kInvalidArgument, [] { CInfoTypeAndValueList{CInfoTypeAndValue("info")}.encode(); }},
        {status::kInvalidArgument, [] { CName(L"CN=a, O=#0500").encode(); }},
        {status::kAsn1Error, [] { CAttributeTypeAndValue("2.5.4.3", blobFromHex("0500")).encode(); }},
        {status::kAsn1Error, [] { CName(L"1.2.3=xyz").encode(); }},  // no value
    };
    int number = 0;
    for (const auto& [expected, encode] : rows) {
        EXPECT_THAT(thrownStatus(encode), IsStatus(expected)) << "row " << number;
        ++number;
    }
    // What no schema describes is carried as it is.
    EXPECT_EQ(hexOf(CExtension(CExtValue("1.2.3", blob(bytesOf("zz"))), false).encode()), "300806022a0304027a7a");
    EXPECT_EQ(hexOf(CAttributeTypeAndValue("1.2.3", blobFromHex("0500")).encode()), "300606022a030500");
}

TEST(AlgorithmIdentifier, ChecksTheParametersOfKnownAlgorithms) {
    CAlgorithmIdentifier rsa("1.2.840.113549.1.1.1");
    EXPECT_EQ(hexOf(rsa.encode()), "300b06092a864886f70d010101") << "left out when empty";
    rsa.put_parameters(blob(tlv::integer(1)));
    EXPECT_THAT(thrownStatus([&] { rsa.encode(); }), IsStatus(status::kAsn1Error));
    EXPECT_FALSE(rsa == CAlgorithmIdentifier("1.2.840.113549.1.1.1"));
}

TEST(AlgorithmIdentifierEx, ForgetsTheNumberWithTheIdentifier) {
    CAlgorithmIdentifierEx algorithm("1.2.3");
    algorithm.put_algId(0x8004);
    algorithm.put_algorithm("1.2.3");
    EXPECT_EQ(algorithm.get_algId(), 0x8004U);
    algorithm.decode(blob(tlv::sequence({tlv::oid("1.2.3"), tlv::null()})));
    EXPECT_EQ(algorithm.get_algId(), 0x8004U) << "decoding goes through put_algorithm too";
    algorithm.decode(blob(tlv::sequence({tlv::oid("1.2.4")})));
    EXPECT_EQ(algorithm.get_algId(), 0U);
    EXPECT_EQ(algorithm.get_parameters().cbData(), 0U);

    CAlgorithmIdentifierEx other("1.2.5");
    other.put_algId(7);
    algorithm.swap(other);
    EXPECT_EQ(algorithm.get_algId(), 7U);
    EXPECT_STREQ(other.get_algorithm(), "1.2.4");
}

TEST(DistributionPoint, LeavesAnEmptyIssuerOffTheWire) {
    const CGeneralNames empty;
    CDistributionPoint point;
    point.put_cRLIssuer(&empty);
    EXPECT_NE(point.get_cRLIssuer(), nullptr);
    EXPECT_FALSE(point == CDistributionPoint());
    EXPECT_EQ(hexOf(point.encode()), "3000");
    point.decode(point.encode());
    EXPECT_EQ(point.get_cRLIssuer(), nullptr);
    EXPECT_TRUE(point == CDistributionPoint());
}

TEST(DistributionPoint, CannotHoldARelativeName) {
    CDistributionPointName name((CGeneralNames()));
    const Bytes element = tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String("a")});
    name.decode(blob(tlv::context(1, element)));
    EXPECT_EQ(name.get_type(), 0U);
    EXPECT_EQ(name.get_fullName(), nullptr);
}

TEST(DistributionPoint, CopiesDeeply) {
    const CReasonFlags reasons(CReasonFlags::kKeyCompromise);
    CDistributionPoint point;
    point.put_reasons(&reasons);
    const CDistributionPoint copy = point;
    point.put_reasons(point.get_reasons());
    EXPECT_TRUE(copy == point);
    point.put_reasons(nullptr);
    EXPECT_EQ(copy.get_reasons()->get_value(), 2U);
    EXPECT_FALSE(copy == point);
}

TEST(ReasonFlags, CountBitsModulo32AndKeepThoseThatAreDecoded) {
    CDistributionPoint point;
    point.decode(blobFromHex("3008810600ffffffffff"));
    EXPECT_EQ(point.get_reasons()->get_value(), 0xFFFFFFFFU);
    CReasonFlags flags(0);
    flags.put_bit(33, true);
    EXPECT_EQ(flags.get_value(), 2U);
    flags.add_flag(CReasonFlags::kAACompromise);
    flags.remove_flag(CReasonFlags::kKeyCompromise);
    EXPECT_TRUE(flags.get_flag(CReasonFlags::kAACompromise));
    EXPECT_EQ(flags.get_value(), 256U);
}

TEST(Name, SortsTheSetOnTheWireAndKeepsTheOrderOfItsText) {
    EXPECT_EQ(hexOf(CName(L"CN=a").encode()), "300c310a300806035504030c0161");
    CName decoded(L"CN=before");
    decoded.decode(blobFromHex("3000"));
    EXPECT_TRUE(decoded.empty());
    const CRelativeDistinguishedName pair(L"O=b+CN=a");
    EXPECT_EQ(hexOf(pair.encode()), "3114300806035504030c01613008060355040a0c0162");
    EXPECT_STREQ(pair.toString().c_str(), L"O=b+CN=a");
}

}  // namespace
