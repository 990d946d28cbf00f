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
using namespace testkit;

const CDateTime kDate("20260102030405Z");
const Bytes kTime = tlv::generalizedTime("20260102030405Z");
const Bytes kUri = tlv::contextPrimitive(6, bytesOf("http://ca.example/a.crl"));

Bytes value(const ASN1::CExtValue& extension) {
    return bytes(extension.get_value());
}

// Reads `der`, puts each field of it into a new object and expects the same octets from that. Returns what was read.
template <class Extension, class Copy>
Extension copied(const Bytes& der, Copy copy, const char* oid) {
    Extension read(blob(der));
    Extension made;
    copy(read, made);
    EXPECT_EQ(value(made), der) << oid;
    EXPECT_STREQ(made.get_oid(), oid);
    return read;
}

TEST(MessageExtensions, AreWrittenAsTheyAreRead) {
    for (const Bytes& nonce : {tlv::octetString({1, 2, 3}), Bytes{0xFF, 0x00}, Bytes{}}) {
        const auto copy = [](const CExtNonce& read, CExtNonce& made) { made.put_nonce(read.get_nonce()); };
        copied<CExtNonce>(nonce, copy, kNonceOid);
    }
    const auto points = copied<CExtCRLLocator>(
        // { distributionPoint [0] { fullName [0] { URI } } }
        tlv::sequence({tlv::sequence({tlv::context(0, tlv::context(0, kUri))})}),
        [](const auto& read, auto& made) { made.put_locator(read.get_locator()); }, "1.2.643.2.2.47.2");
    EXPECT_EQ(points.get_locator().size(), 1U);
    const auto cutoff = copied<CExtArchiveCutoff>(
        kTime, [](const auto& read, auto& made) { made.put_archiveCutoff(read.get_archiveCutoff()); },
        "1.3.6.1.5.5.7.48.1.6");
    EXPECT_EQ(cutoff.get_archiveCutoff(), kDate);
    const auto types = copied<CExtAcceptableResponses>(
        tlv::sequence({tlv::oid(kOidBasicResponse), tlv::oid("1.2.643.2.2.47.9")}),
        [](const auto& read, auto& made) { made.put_acceptableResponses(read.get_acceptableResponses()); },
        "1.3.6.1.5.5.7.48.1.4");
    CStringList list = types.get_acceptableResponses();
    EXPECT_STREQ(list.back().c_str(), "1.2.643.2.2.47.9");
    list.push_back(CStringProxy("one.two"));
    CExtAcceptableResponses kept(types);
    EXPECT_THAT(thrownStatus([&] { kept.put_acceptableResponses(list); }), IsStatus(status::kInvalidArgument));
    EXPECT_EQ(value(kept), value(types));
}

TEST(MessageExtensions, TheServiceLocatorIsWrittenOnceItsIssuerIsKnown) {
    const Bytes issuer = Pki::shared().ca.subject();
    const Bytes location = tlv::sequence({tlv::oid("1.3.6.1.5.5.7.48.1"), kUri});
    const auto read = copied<CExtServiceLocator>(
        tlv::sequence({issuer, tlv::sequence({location})}),
        [](const auto& from, auto& made) {
            made.put_locator(from.get_locator());
            EXPECT_TRUE(value(made).empty()) << "nothing to encode yet";
            made.put_issuer(from.get_issuer());
        },
        "1.3.6.1.5.5.7.48.1.7");
    EXPECT_EQ(bytes(read.get_issuer()), issuer);
    CExtServiceLocator made(read);
    made.put_locator(nullptr);
    EXPECT_EQ(value(made), tlv::sequence({issuer}));
    EXPECT_EQ(CExtServiceLocator(made.get_value()).get_locator(), nullptr);
}

TEST(MessageExtensions, EachFieldOfCrlIdIsOptional) {
    const Bytes url = tlv::context(0, tlv::ia5String("http://x/"));
    const Bytes number = tlv::context(1, tlv::integer(4711));
    const Bytes time = tlv::context(2, kTime);
    const auto copy = [](const auto& read, auto& made) {
        made.put_crlUrl(read.get_crlUrl());
        made.put_crlNum(read.get_crlNum());
        made.put_crlTime(read.get_crlTime());
    };
    for (const Bytes& der : {tlv::sequence({}), tlv::sequence({url}), tlv::sequence({number}), tlv::sequence({time})}) {
        copied<CExtCrlID>(der, copy, kOidCrlReference);
    }
    auto read = copied<CExtHistoricalRequest>(tlv::sequence({url, number, time}), copy, kOidHistoricalRequest);
    EXPECT_STREQ(read.get_crlUrl(), "http://x/");
    EXPECT_THAT(read.get_crlNum(), testing::Pointee(4711));
    EXPECT_THAT(read.get_crlTime(), testing::Pointee(kDate));
    copy(CExtCrlID(blob(tlv::sequence({}))), read);
    EXPECT_EQ(value(read), tlv::sequence({})) << "fields are taken away with null";
}

TEST(MessageExtensions, RefuseMalformedValues) {
    const auto refuses = [](auto make, const Bytes& malformed) {
        EXPECT_THAT(thrownStatus([&] { make(blob(malformed)); }), IsStatus(status::kAsn1Error)) << toHex(malformed);
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
