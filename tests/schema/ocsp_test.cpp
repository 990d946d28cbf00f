// The OCSP types on messages made by openssl, and on what the wider schema accepts and refuses.
#include <gtest/gtest.h>

#include "schema/generated/ocsp.h"
#include "tests/schema/codec_fixture.h"
#include "tests/support/tlv.h"

namespace {

using namespace asn1data;
using namespace testkit;

using Ocsp = schematest::CodecTest;

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

TEST_F(Ocsp, ExtensionsOfMessages) {
    const auto extension = [](const Bytes& oid, const Bytes& value) {
        return tlv::sequence({oid, tlv::octetString(value)});
    };
    const auto withExtensions = [](const std::vector<Bytes>& list) {
        return tlv::sequence({tlv::context(2, tlv::octetString(Bytes(20, 3))), kTime, tlv::sequence({}),
                              tlv::context(1, tlv::sequence(list))});
    };
    const auto number = [](std::size_t octets) {
        return tlv::sequence({tlv::context(1, tlv::integer(Bytes(octets, 0x7F)))});
    };
    const Bytes crl = tlv::oid("1.3.6.1.5.5.7.48.1.3");
    const Bytes wrapping = fromHex("06 0D 2B 06 01 05 05 07 30 01 90 80 80 80 03");
    struct {
        const char* name;
        Bytes input;
        int status;
        bool isDecoded;
    } const rows[] = {
        {"none", withExtensions({}), 0, false},
        {"number of 32 bits", withExtensions({extension(crl, number(4))}), 0, true},
        {"number of 20 octets", withExtensions({extension(crl, number(20))}), 0, false},
        {"number that is none", withExtensions({extension(crl, tlv::sequence({tlv::context(1, tlv::null())}))}),
         STATUS_TAG_MISMATCH, false},
        {"identifier that wraps to a known one", withExtensions({extension(wrapping, number(4))}), 0, false},
        {"what only its twin refuses", withExtensions({extension(wrapping, {0xFF})}), 0, false},
    };
    ASN1T_ResponseData value;
    for (const auto& row : rows) {
        value.version = 7;  // as a record that is used again has it
        EXPECT_EQ(decode(asn1D_ResponseData, value, row.input), row.status) << row.name;
        if (row.status != 0) {
            continue;
        }
        EXPECT_EQ(value.version, 0U) << row.name;
        const auto* node = value.responseExtensions.pHead;
        const bool isDecoded =
            node != nullptr && static_cast<ASN1T_Extension*>(node->data)->extnValueObject.decoded != nullptr;
        EXPECT_EQ(isDecoded, row.isDecoded) << row.name;
        EXPECT_TRUE(value.m.responseExtensionsPresent);
    }
}

// Identifiers of three octets fill records of half a kilobyte.
TEST_F(Ocsp, MessagesThatWouldTakeTooMuchMemoryAreRefused) {
    const auto types = [](std::size_t count) {
        Bytes all;
        for (std::size_t i = 0; i < count; ++i) {
            all.insert(all.end(), {0x06, 0x01, 0x2A});
        }
        return tlv::raw(0x30, all);
    };
    ASN1T_AcceptableResponses value;
    EXPECT_EQ(decode(asn1D_AcceptableResponses, value, types(2000)), 0);
    EXPECT_EQ(decode(asn1D_AcceptableResponses, value, types(100000)), STATUS_NO_MEMORY);
}

TEST_F(Ocsp, CopiesOfDecodedOpenValuesAreDeep) {
    ASN1T_OCSPResponse answer;
    const Bytes input = file("response-many.der");
    ASSERT_EQ(decode(asn1D_OCSPResponse, answer, input), 0);
    ASN1CTXT other{};
    ASSERT_EQ(rtInitContext(&other, nullptr), 0);
    ASN1T_OCSPResponse copy;
    asn1Copy_OCSPResponse(&other, &answer, &copy);
    const auto& object = copy.responseBytes.responseObject;
    ASSERT_NE(object.decoded, nullptr);
    EXPECT_NE(object.decoded, answer.responseBytes.responseObject.decoded);
    // What the original holds goes, octets and records; the copy is written from its decoded value.
    asn1Free_OCSPResponse(&ctxt_, &answer);
    rtFreeContext(&ctxt_);
    ASSERT_EQ(rtInitContext(&ctxt_, nullptr), 0);
    EXPECT_EQ(encoded(asn1E_OCSPResponse, copy), input);
    rtFreeContext(&other);
}

TEST_F(Ocsp, SmallValuesAreWrittenAsTheyAre) {
    ASN1T_TBSRequest request;
    EXPECT_EQ(encoded(asn1E_TBSRequest, request), fromHex("30 02 30 00"));
    request.m.versionPresent = 1;
    EXPECT_EQ(encoded(asn1E_TBSRequest, request), fromHex("30 07 A0 03 02 01 00 30 00"));
    ASN1T_OCSPResponseStatus status = 9;
    EXPECT_EQ(encode(asn1E_OCSPResponseStatus, status), STATUS_BAD_ENUM);
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
    survivesDamage(asn1D_OCSPResponse, asn1E_OCSPResponse, file("response-many.der"));
}

}  // namespace
