#include "message/request_message.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "message/extensions.h"
#include "tests/message/message_fixture.h"
#include "tests/support/status_matcher.h"
#include "tests/support/tlv.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using namespace testkit;

const Bytes kNonce = tlv::octetString({0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08});

ASN1::CExtensions nonceList() {
    CExtNonce nonce;
    nonce.put_nonce(blob(kNonce));
    ASN1::CExtensions list;
    list.push_back(ASN1::CExtension(nonce, false));
    return list;
}

// The DER of a request with the given parts, written by hand.
Bytes expectedRequest(const Bytes& version, const Bytes& requests, const Bytes& extensions) {
    return tlv::sequence({tlv::sequence({version, requests, extensions})});
}

TEST(RequestMessage, IsWrittenAsDerAndReadByOpenssl) {
    const Pki& pki = Pki::shared();
    CSingleRequestList list = requestListFor(identifierOf(pki.good, pki.ca));
    list.emplace_back(CReqCert(identifierOf(pki.revoked, pki.ca, kSha256Oid)));
    const ASN1::CExtensions extensions = nonceList();
    list.back().put_singleRequestExtensions(&extensions);
    const Bytes nonce = tlv::sequence({ExtensionSpec{kNonceOid, false, kNonce}.encode()});
    const Bytes requests =
        tlv::sequence({tlv::sequence({certIdOf(pki.good, pki.ca).encode()}),
                       tlv::sequence({certIdOf(pki.revoked, pki.ca, kSha256Oid).encode(), tlv::context(0, nonce)})});
    for (const bool writeVersion : {false, true}) {
        CRequestMessage message(writeVersion);
        message.put_requestList(list);
        message.put_requestExtensions(&extensions);
        const CBlob encoded = message.encode();
        const Bytes version = writeVersion ? tlv::context(0, tlv::integer(0)) : Bytes{};
        EXPECT_EQ(bytes(encoded), expectedRequest(version, requests, tlv::context(2, nonce)));

        const OcspRequestPtr read = parseRequest(encoded);
        ASSERT_NE(read, nullptr) << writeVersion;
        EXPECT_EQ(OCSP_request_onereq_count(read.get()), 2);
        EXPECT_GE(OCSP_REQUEST_get_ext_by_NID(read.get(), NID_id_pkix_OCSP_Nonce, -1), 0);
    }
}

TEST(RequestMessage, ReadsBackTheRequestorsNameAndWhatTheListHolds) {
    const Pki& pki = Pki::shared();
    const CBlob name = blob(pki.good.subject());
    const ASN1::CExtensions extensions = nonceList();
    CSingleRequestList list = requestListFor(identifierOf(pki.good, pki.ca));
    list.front().put_singleRequestExtensions(&extensions);
    CRequestMessage message;
    message.put_requestList(list);
    message.put_requestorName(&name);
    CRequestMessage read;
    read.decode(message.encode());
    EXPECT_THAT(read.get_requestorName(), testing::Pointee(name));
    EXPECT_THAT(read.get_requestList().front().get_singleRequestExtensions(), testing::Pointee(extensions));
    EXPECT_EQ(read.get_requestExtensions(), nullptr);
    EXPECT_EQ(read.get_signatureAlgorithm(), nullptr);
    EXPECT_EQ(read.get_signatureCerts(), nullptr);
    EXPECT_FALSE(read.verify(blob(pki.good.certificate))) << "unsigned";

    message.put_requestorName(nullptr);
    list.front().put_singleRequestExtensions(nullptr);
    message.put_requestList(list);
    read.decode(message.encode());
    EXPECT_EQ(read.get_requestorName(), nullptr);
    EXPECT_EQ(read.get_requestList().front().get_singleRequestExtensions(), nullptr);
}

TEST(RequestMessage, CarriesOtherWaysToNameACertificate) {
    const Pki& pki = Pki::shared();
    const Bytes algorithm = tlv::sequence({tlv::oid("1.2.840.10045.4.3.2")});
    const Bytes issuerAndSerial = tlv::sequence({pki.ca.subject(), tlv::integer(pki.good.serial())});
    const Bytes signature = tlv::sequence({algorithm, tlv::bitString({0xAB})});
    for (const Bytes& alternative :
         {tlv::context(0, tlv::context(0, pki.good.certificate)),
          tlv::context(1, tlv::sequence({issuerAndSerial, tlv::bitString({0xCD}), signature}))}) {
        const Bytes encoded = expectedRequest({}, tlv::sequence({tlv::sequence({alternative})}), {});
        CRequestMessage read;
        read.decode(blob(encoded));
        const CReqCert& reqCert = read.get_requestList().front().get_reqCert();
        EXPECT_EQ(reqCert.get_certID(), nullptr);
        ASSERT_NE(reqCert.get_otherAlternative(), nullptr);
        EXPECT_EQ(bytes(*reqCert.get_otherAlternative()), alternative);
        CRequestMessage again;
        again.put_requestList(read.get_requestList());
        EXPECT_EQ(bytes(again.encode()), encoded);
    }
}

TEST(RequestMessage, RefusesMalformedBytesAndKeepsItsContent) {
    const Pki& pki = Pki::shared();
    const Bytes request = tlv::sequence({certIdOf(pki.good, pki.ca).encode()});
    const Bytes good = expectedRequest({}, tlv::sequence({request}), {});
    const Bytes algorithm = tlv::sequence({tlv::oid("1.2.840.10045.4.3.2")});
    const Bytes& cert = pki.good.certificate;
    CRequestMessage message;
    message.decode(blob(good));
    std::vector<Bytes> rows = {
        {},
        {0x30, 0x00},
        expectedRequest({}, tlv::sequence({tlv::sequence({tlv::context(2, tlv::null())})}), {}),  // no such ReqCert
        expectedRequest(tlv::context(0, tlv::octetString({})), tlv::sequence({request}), {}),
        tlv::sequence({tlv::sequence({tlv::sequence({request})}), tlv::null()}),  // an element too many
        // Wrappers that end before what they wrap.
        tlv::sequence({tlv::sequence({tlv::sequence({request})}), tlv::context(0, {}),
                       tlv::sequence({algorithm, tlv::bitString({0x01}), tlv::context(0, tlv::sequence({cert}))})}),
        tlv::sequence({tlv::sequence({tlv::sequence({request})}),
                       tlv::context(0, tlv::sequence({algorithm, tlv::bitString({0x01}), tlv::context(0, {}),
                                                      tlv::sequence({cert})}))}),
    };
    for (std::size_t size = 1; size < good.size(); ++size) {
        rows.emplace_back(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    }
    for (const Bytes& row : rows) {
        EXPECT_THAT(thrownStatus([&] { message.decode(blob(row)); }), IsStatus(status::kAsn1Error)) << toHex(row);
        EXPECT_EQ(bytes(message.encode()), good);
        EXPECT_EQ(message.get_requestList().size(), 1U);
    }
    message.decode(blob(expectedRequest({}, tlv::sequence({request}), tlv::context(2, tlv::sequence({})))));
    EXPECT_THAT(message.get_requestExtensions(), testing::Pointee(testing::IsEmpty()));
    message.decode(blob(concat({good, {0xDE, 0xAD}})));  // what lies after is not part of it
    EXPECT_EQ(bytes(message.encode()), good);
}

}  // namespace
