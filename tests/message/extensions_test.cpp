#include "message/extensions.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/message/message_fixture.h"
#include "tests/support/status_matcher.h"
#include "tests/support/tlv.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using testkit::Bytes;
using testkit::IsStatus;
using testkit::thrownStatus;
namespace tlv = testkit::tlv;

const Bytes kTime = tlv::generalizedTime("20260102030405Z");
const Bytes kUri = tlv::contextPrimitive(6, testkit::bytesOf("http://ca.example/a.crl"));

Bytes value(const ASN1::CExtValue& extension) {
    return testkit::bytes(extension.get_value());
}

TEST(MessageExtensions, ReturnTheNonceUnchanged) {
    for (const Bytes& nonce : {tlv::octetString({1, 2, 3}), Bytes{0xFF, 0x00}, Bytes{}}) {
        CExtNonce made;
        made.put_nonce(testkit::blob(nonce));
        EXPECT_EQ(value(made), nonce);
        EXPECT_EQ(testkit::bytes(CExtNonce(made.get_value()).get_nonce()), nonce);
        EXPECT_STREQ(made.get_oid(), testkit::kNonceOid);
    }
}

TEST(MessageExtensions, WriteAndReadAcceptableResponses) {
    CStringList types;
    types.push_back(CStringProxy(kOidBasicResponse));
    types.push_back(CStringProxy("1.2.643.2.2.47.9"));
    CExtAcceptableResponses made;
    made.put_acceptableResponses(types);
    EXPECT_EQ(value(made), tlv::sequence({tlv::oid(kOidBasicResponse), tlv::oid("1.2.643.2.2.47.9")}));
    const CExtAcceptableResponses read(made.get_value());
    ASSERT_EQ(read.get_acceptableResponses().size(), 2U);
    EXPECT_STREQ(read.get_acceptableResponses().back().c_str(), "1.2.643.2.2.47.9");

    const Bytes before = value(made);
    types.push_back(CStringProxy("one.two"));
    EXPECT_THAT(thrownStatus([&] { made.put_acceptableResponses(types); }), IsStatus(status::kInvalidArgument));
    EXPECT_EQ(value(made), before);
}

TEST(MessageExtensions, WriteAndReadTheServiceLocator) {
    const Bytes issuer = testkit::Pki::shared().ca.subject();
    ASN1::CGeneralName location;
    location.put_uniformResourceIdentifier(L"http://ca.example/a.crl");
    ASN1::CAuthorityInfoAccessSyntax locator;
    locator.push_back(ASN1::CAccessDescription("1.3.6.1.5.5.7.48.1", location));
    CExtServiceLocator made;
    made.put_locator(&locator);  // before the issuer: nothing to encode yet
    EXPECT_TRUE(value(made).empty());
    made.put_issuer(testkit::blob(issuer));
    EXPECT_EQ(value(made),
              tlv::sequence({issuer, tlv::sequence({tlv::sequence({tlv::oid("1.3.6.1.5.5.7.48.1"), kUri})})}));
    const CExtServiceLocator read(made.get_value());
    EXPECT_EQ(testkit::bytes(read.get_issuer()), issuer);
    ASSERT_NE(read.get_locator(), nullptr);
    EXPECT_STREQ(read.get_locator()->front().get_accessLocation().get_uniformResourceIdentifier(),
                 L"http://ca.example/a.crl");
    made.put_locator(nullptr);
    EXPECT_EQ(value(made), tlv::sequence({issuer}));
    EXPECT_EQ(CExtServiceLocator(made.get_value()).get_locator(), nullptr);
}

TEST(MessageExtensions, ReadTheCrlLocatorFromACertificatesDistributionPoints) {
    // { distributionPoint [0] { fullName [0] { URI } } }
    const Bytes points = tlv::sequence({tlv::sequence({tlv::context(0, tlv::context(0, kUri))})});
    const CExtCRLLocator read(testkit::blob(points));
    ASSERT_EQ(read.get_locator().size(), 1U);
    EXPECT_EQ(value(read), points);
    CExtCRLLocator made;
    made.put_locator(read.get_locator());
    EXPECT_EQ(value(made), points);
    EXPECT_STREQ(made.get_oid(), "1.2.643.2.2.47.2");
}

TEST(MessageExtensions, WriteAndReadEachFieldOfCrlId) {
    const CDateTime time("20260102030405Z");
    const int number = 4711;
    CExtHistoricalRequest made;
    made.put_crlTime(&time);
    EXPECT_EQ(value(made), tlv::sequence({tlv::context(2, kTime)}));
    made.put_crlNum(&number);
    made.put_crlUrl("http://x/");
    EXPECT_EQ(value(made), tlv::sequence({tlv::context(0, tlv::ia5String("http://x/")),
                                          tlv::context(1, tlv::integer(number)), tlv::context(2, kTime)}));
    const CExtCrlID read(made.get_value());
    EXPECT_STREQ(read.get_crlUrl(), "http://x/");
    EXPECT_THAT(read.get_crlNum(), testing::Pointee(number));
    EXPECT_THAT(read.get_crlTime(), testing::Pointee(time));
    EXPECT_STREQ(read.get_oid(), kOidCrlReference);
    EXPECT_STREQ(made.get_oid(), kOidHistoricalRequest);

    CExtHistoricalRequest empty(testkit::blob(tlv::sequence({})));
    EXPECT_EQ(empty.get_crlUrl(), nullptr);
    EXPECT_EQ(empty.get_crlNum(), nullptr);
    EXPECT_EQ(empty.get_crlTime(), nullptr);
    made.put_crlUrl(nullptr);
    made.put_crlNum(nullptr);
    made.put_crlTime(nullptr);
    EXPECT_EQ(value(made), tlv::sequence({}));
}

TEST(MessageExtensions, WriteAndReadTheArchiveCutoff) {
    const CDateTime time("20260102030405Z");
    CExtArchiveCutoff made;
    made.put_archiveCutoff(time);
    EXPECT_EQ(value(made), kTime);
    EXPECT_EQ(CExtArchiveCutoff(made.get_value()).get_archiveCutoff(), time);
}

TEST(MessageExtensions, RefuseMalformedValues) {
    const auto refuses = [](auto make, const Bytes& malformed) {
        EXPECT_THAT(thrownStatus([&] { make(testkit::blob(malformed)); }), IsStatus(status::kAsn1Error))
            << testkit::toHex(malformed);
    };
    for (const Bytes& row :
         {Bytes{}, Bytes{0x30}, Bytes{0x30, 0x05, 0x06}, tlv::octetString({1}), tlv::sequence({tlv::integer(1)})}) {
        refuses([](const CBlob& data) { CExtAcceptableResponses{data}; }, row);
        refuses([](const CBlob& data) { CExtServiceLocator{data}; }, row);
        refuses([](const CBlob& data) { CExtCRLLocator{data}; }, row);
        refuses([](const CBlob& data) { CExtHistoricalRequest{data}; }, row);
        refuses([](const CBlob& data) { CExtCrlID{data}; }, row);
        refuses([](const CBlob& data) { CExtArchiveCutoff{data}; }, row);
    }
}

}  // namespace
