// The OCSP types on messages made by openssl, and on what the wider schema accepts and refuses.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "schema/generated/identifiers.h"
#include "schema/generated/ocsp.h"
#include "tests/schema/codec_fixture.h"
#include "tests/support/tlv.h"

namespace {

using namespace asn1data;
using namespace testkit;

class Ocsp : public schematest::CodecTest {
protected:
    static Bytes file(const std::string& name) {
        std::ifstream in("data/schema/" + name, std::ios::binary);
        EXPECT_TRUE(in) << name;
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    template <class Record>
    Bytes encoded(int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), Record& record) {
        const int length = encode(encoder, record);
        EXPECT_GT(length, 0);
        return length > 0 ? Bytes(xe_getp(&ctxt_), xe_getp(&ctxt_) + length) : Bytes();
    }
};

const Bytes kAlgorithm = tlv::sequence({tlv::oid("1.3.14.3.2.26"), tlv::null()});
const Bytes kCertId =
    tlv::sequence({kAlgorithm, tlv::octetString(Bytes(20, 1)), tlv::octetString(Bytes(20, 2)), tlv::integer(200)});
const Bytes kTime = tlv::generalizedTime("20260102030405Z");
const Bytes kGood = tlv::contextPrimitive(0, {});

Bytes single(const Bytes& reqCert, const Bytes& status) {
    return tlv::sequence({reqCert, status, kTime});
}

Bytes basic(const Bytes& data, const Bytes& rest = {}) {
    return tlv::sequence({data, kAlgorithm, tlv::bitString({1, 2, 3}), rest});
}

Bytes data(const Bytes& version, const Bytes& responses) {
    return tlv::sequence({version, tlv::context(2, tlv::octetString(Bytes(20, 3))), kTime, responses});
}

Bytes response(const char* type, const Bytes& value) {
    return tlv::sequence(
        {tlv::enumerated(0), tlv::context(0, tlv::sequence({tlv::oid(type), tlv::octetString(value)}))});
}

TEST_F(Ocsp, MessagesOfOpensslComeOutAsTheyWere) {
    for (const char* name : {"request.der", "request-signed.der"}) {
        SCOPED_TRACE(name);
        const Bytes der = file(name);
        ASN1T_OCSPRequest request;
        ASSERT_EQ(decode(asn1D_OCSPRequest, request, der), 0);
        EXPECT_EQ(encoded(asn1E_OCSPRequest, request), der);
        asn1Free_OCSPRequest(&ctxt_, &request);
    }
    for (const char* name : {"response-good.der", "response-revoked.der", "response-unknown.der", "response-many.der",
                             "response-refused.der"}) {
        SCOPED_TRACE(name);
        const Bytes der = file(name);
        ASN1T_OCSPResponse answer;
        ASSERT_EQ(decode(asn1D_OCSPResponse, answer, der), 0);
        ASN1T_OCSPResponse copy;
        asn1Copy_OCSPResponse(&ctxt_, &answer, &copy);
        EXPECT_EQ(encoded(asn1E_OCSPResponse, answer), der);
        asn1Free_OCSPResponse(&ctxt_, &answer);
        EXPECT_EQ(encoded(asn1E_OCSPResponse, copy), der);
        asn1Free_OCSPResponse(&ctxt_, &copy);
    }
}

TEST_F(Ocsp, EntriesOfAResponseCanBeRead) {
    ASN1T_OCSPResponse answer;
    ASSERT_EQ(decode(asn1D_OCSPResponse, answer, file("response-many.der")), 0);
    const auto* value = static_cast<ASN1T_BasicOCSPResponse*>(answer.responseBytes.responseObject.decoded);
    ASSERT_NE(value, nullptr);
    const auto& responses = value->tbsResponseData.responses;
    ASSERT_EQ(responses.count, 3U);
    std::uint32_t status = 1;
    for (const auto* node = responses.pHead; node != nullptr; node = node->pNext, ++status) {
        const auto* entry = static_cast<const ASN1T_SingleResponse*>(node->data);
        EXPECT_EQ(entry->reqCert.t, 1U);
        EXPECT_EQ(entry->reqCert.u.certID->issuerKeyHash.numocts, 20U);
        EXPECT_EQ(entry->certStatus.t, status);  // good, revoked, unknown
    }
    const auto* revoked = static_cast<const ASN1T_SingleResponse*>(responses.pHead->pNext->data);
    EXPECT_STREQ(revoked->certStatus.u.revoked->revocationTime, "20240102030405Z");
    EXPECT_EQ(revoked->certStatus.u.revoked->revocationReason, 1U);
    EXPECT_STREQ(revoked->reqCert.u.certID->serialNumber, "0x03");
    asn1Free_OCSPResponse(&ctxt_, &answer);
    EXPECT_TRUE(isHeapEmpty());
}

TEST_F(Ocsp, TheNonceStaysRaw) {
    ASN1T_OCSPRequest request;
    ASSERT_EQ(decode(asn1D_OCSPRequest, request, file("request.der")), 0);
    EXPECT_EQ(request.tbsRequest.requestList.count, 2U);
    ASSERT_TRUE(request.tbsRequest.m.requestExtensionsPresent);
    const auto* nonce = static_cast<ASN1T_Extension*>(request.tbsRequest.requestExtensions.pHead->data);
    EXPECT_TRUE(nonce->extnId == id_pkix_ocsp_nonce);
    EXPECT_EQ(nonce->extnValueObject.decoded, nullptr);
    EXPECT_EQ(nonce->extnValue.numocts, 18U);
}

TEST_F(Ocsp, StatusPassesUpToEight) {
    for (int status = 0; status <= 10; ++status) {
        const Bytes input = tlv::sequence({tlv::enumerated(status)});
        ASN1T_OCSPResponse answer;
        const int expected = status < 9 ? 0 : STATUS_BAD_ENUM;
        EXPECT_EQ(decode(asn1D_OCSPResponse, answer, input), expected) << status;
        ASN1T_OCSPResponseStatus alone = 0;
        EXPECT_EQ(decode(asn1D_OCSPResponseStatus, alone, tlv::enumerated(status)), expected) << status;
        answer.responseStatus = static_cast<std::uint32_t>(status);
        EXPECT_EQ(encode(asn1E_OCSPResponse, answer) < 0, status > 8) << status;
    }
}

TEST_F(Ocsp, WireFormsAreAcceptedAndRefused) {
    const Bytes certificate = file("ec.der");
    const Bytes byValue = tlv::context(0, tlv::context(0, certificate));
    const Bytes signedId =
        tlv::context(1, tlv::sequence({tlv::sequence({tlv::sequence({}), tlv::integer(3)}), tlv::bitString({1}),
                                       tlv::sequence({kAlgorithm, tlv::bitString({2})})}));
    const Bytes none = tlv::sequence({});
    const Bytes one = tlv::sequence({single(kCertId, kGood)});
    struct {
        const char* name;
        Bytes input;
        int status;
    } const rows[] = {
        {"version written though it is the default", basic(data(tlv::context(0, tlv::integer(0)), one)), 0},
        {"no version", basic(data({}, one)), 0},
        {"no entries", basic(data({}, none)), 0},
        {"certificate by value", basic(data({}, tlv::sequence({single(byValue, kGood)}))), 0},
        {"issuer and serial number with signature", basic(data({}, tlv::sequence({single(signedId, kGood)}))), 0},
        {"unknown way to name a certificate", basic(data({}, tlv::sequence({single(tlv::context(2, {}), kGood)}))),
         STATUS_BAD_CHOICE},
        {"good, constructed", basic(data({}, tlv::sequence({single(kCertId, tlv::context(0, {}))}))),
         STATUS_BAD_CHOICE},
        {"good with contents", basic(data({}, tlv::sequence({single(kCertId, tlv::contextPrimitive(0, {5}))}))),
         STATUS_TAG_MISMATCH},
        {"revoked for reason 7",
         basic(data({}, tlv::sequence(
                            {single(kCertId, tlv::context(1, concat({kTime, tlv::context(0, tlv::enumerated(7))})))}))),
         0},
        {"revoked for reason 11",
         basic(data({}, tlv::sequence({single(
                            kCertId, tlv::context(1, concat({kTime, tlv::context(0, tlv::enumerated(11))})))}))),
         STATUS_BAD_ENUM},
        {"certificates, empty list", basic(data({}, one), tlv::context(0, none)), STATUS_CONSTRAINT},
        {"certificates, one", basic(data({}, one), tlv::context(0, tlv::sequence({certificate}))), 0},
        {"one element more", basic(data({}, one), tlv::null()), STATUS_EXTRA_ELEMENT},
        {"no signature", tlv::sequence({data({}, one), kAlgorithm}), STATUS_MISSING_ELEMENT},
        {"unknown responder", basic(tlv::sequence({tlv::context(3, {}), kTime, one})), STATUS_BAD_CHOICE},
    };
    for (const auto& row : rows) {
        ASN1T_BasicOCSPResponse value;
        EXPECT_EQ(decode(asn1D_BasicOCSPResponse, value, row.input), row.status) << row.name;
        ASN1T_OCSPResponse answer;
        const Bytes whole = response("1.3.6.1.5.5.7.48.1.1", row.input);
        EXPECT_EQ(decode(asn1D_OCSPResponse, answer, whole), row.status) << row.name;
        if (row.status == 0) {
            EXPECT_EQ(encoded(asn1E_BasicOCSPResponse, value), row.input) << row.name;
            EXPECT_EQ(encoded(asn1E_OCSPResponse, answer), whole) << row.name;
        }
    }
}

TEST_F(Ocsp, UnknownResponseTypesAreCarried) {
    const Bytes input = response("1.3.6.1.5.5.7.48.1.2", fromHex("FF 00"));
    ASN1T_OCSPResponse answer;
    ASSERT_EQ(decode(asn1D_OCSPResponse, answer, input), 0);
    EXPECT_EQ(answer.responseBytes.responseObject.decoded, nullptr);
    EXPECT_EQ(encoded(asn1E_OCSPResponse, answer), input);
}

TEST_F(Ocsp, SmallValuesAreWrittenAsTheyAre) {
    ASN1T_TBSRequest request;
    EXPECT_EQ(encoded(asn1E_TBSRequest, request), fromHex("30 02 30 00"));
    request.m.versionPresent = 1;
    EXPECT_EQ(encoded(asn1E_TBSRequest, request), fromHex("30 07 A0 03 02 01 00 30 00"));
    ASN1T_CrlID crl;
    EXPECT_EQ(encoded(asn1E_CrlID, crl), fromHex("30 00"));
    ASN1T_ServiceLocator locator;
    ASSERT_EQ(decode(asn1D_ServiceLocator, locator, fromHex("30 02 30 00")), 0);
    EXPECT_FALSE(locator.m.locatorPresent);
    ASSERT_EQ(decode(asn1D_ServiceLocator, locator, fromHex("30 04 30 00 30 00")), 0);
    EXPECT_TRUE(locator.m.locatorPresent);
}

TEST_F(Ocsp, AHundredThousandEntriesAreRead) {
    const Bytes entry = single(kCertId, kGood);
    Bytes entries;
    for (unsigned i = 0; i < 100000; ++i) {
        entries.insert(entries.end(), entry.begin(), entry.end());
    }
    const Bytes input = response("1.3.6.1.5.5.7.48.1.1", basic(data({}, tlv::raw(0x30, entries))));
    ASN1T_OCSPResponse answer;
    ASSERT_EQ(decode(asn1D_OCSPResponse, answer, input), 0);
    const auto* value = static_cast<ASN1T_BasicOCSPResponse*>(answer.responseBytes.responseObject.decoded);
    EXPECT_EQ(value->tbsResponseData.responses.count, 100000U);
}

TEST_F(Ocsp, DamagedMessagesAreSafe) {
    const Bytes whole = file("response-many.der");
    for (std::size_t i = 0; i < whole.size(); ++i) {
        Bytes damaged = whole;
        damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ (i % 3 == 0 ? 0x80 : i % 3 == 1 ? 0xFF : 0x01));
        ASN1T_OCSPResponse answer;
        if (decode(asn1D_OCSPResponse, answer, damaged) == 0) {
            encode(asn1E_OCSPResponse, answer);
        }
        rtFreeContext(&ctxt_);
        ASSERT_EQ(rtInitContext(&ctxt_, nullptr), 0);
    }
}

}  // namespace
