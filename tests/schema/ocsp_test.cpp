// Decoded members and size limits of the OCSP types. Messages of other programs are tested in real_messages_test.cpp,
// single values in vectors.txt.
#include "schema/generated/ocsp.h"

#include <gtest/gtest.h>

#include "tests/schema/codec_fixture.h"

namespace {

using namespace asn1data;
using testkit::octets;

using OcspModule = schematest::CodecTest;

TEST_F(OcspModule, DecodesExtensionsWithAKnownKey) {
    const std::string crl = "30{1.3.6.1.5.5.7.48.1.3 04{30{A1";
    const std::string wrapping = "30{060D2B0601050507300190808080 03 04";
    const struct {
        const char* name;
        std::string extension;
        int status;
        bool isDecoded;
    } rows[] = {
        {"none", "", 0, false},
        {"number of 32 bits", crl + "{02{7F*4}}}}}", 0, true},
        {"number of 20 octets", crl + "{02{7F*20}}}}}", 0, false},
        {"number that is none", crl + "{0500}}}}", STATUS_TAG_MISMATCH, false},
        {"identifier that wraps to a known one", wrapping + "{30{A1{02{7F*4}}}}}", 0, false},
        {"what only its twin rejects", wrapping + "{FF}}", 0, false},
    };
    ASN1T_ResponseData value;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        value.version = 7;  // as in a reused record
        const auto input = octets("30{A2{04{03*20}} 18{'20260102030405Z'} 3000 A1{30{" + row.extension + "}}}");
        EXPECT_EQ(decode(asn1D_ResponseData, value, input), row.status);
        if (row.status == 0) {
            EXPECT_EQ(value.version, 0U);
            const auto* node = value.responseExtensions.pHead;
            EXPECT_EQ(node != nullptr && static_cast<ASN1T_Extension*>(node->data)->extnValueObject.decoded != nullptr,
                      row.isDecoded);
            EXPECT_TRUE(value.m.responseExtensionsPresent);
        }
    }
}

// An identifier of three octets takes a record of half a kilobyte.
TEST_F(OcspModule, RejectsMessagesThatNeedTooMuchMemory) {
    ASN1T_AcceptableResponses value;
    EXPECT_EQ(decode(asn1D_AcceptableResponses, value, octets("30{06012A*2000}")), 0);
    EXPECT_EQ(decode(asn1D_AcceptableResponses, value, octets("30{06012A*100000}")), STATUS_NO_MEMORY);
}

TEST_F(OcspModule, EncodesSmallValues) {
    ASN1T_TBSRequest request;
    EXPECT_EQ(encoded(asn1E_TBSRequest, request), octets("30{3000}"));
    request.m.versionPresent = 1;
    EXPECT_EQ(encoded(asn1E_TBSRequest, request), octets("30{A0{020100} 3000}"));
    ASN1T_OCSPResponseStatus status = 9;
    EXPECT_EQ(encode(asn1E_OCSPResponseStatus, status), STATUS_BAD_ENUM);
    ASN1T_CrlID crl;
    EXPECT_EQ(encoded(asn1E_CrlID, crl), octets("3000"));
}

TEST_F(OcspModule, DecodesAHundredThousandEntries) {
    const auto entry = octets("30{30{30{1.3.14.3.2.26} 04{01*20} 04{02*20} 02{05}} 8000 18{'20260102030405Z'}}");
    const auto input = octets("30{0A{00} A0{30{1.3.6.1.5.5.7.48.1.1 04{30{30{A2{04{03*20}} 18{'20260102030405Z'} 30{" +
                              testkit::toHex(entry) + "*100000}} 30{1.3.14.3.2.26} 03{0001}}}}}}");
    ASN1T_OCSPResponse response;
    ASSERT_EQ(decode(asn1D_OCSPResponse, response, input), 0);
    const auto* value = static_cast<ASN1T_BasicOCSPResponse*>(response.responseBytes.responseObject.decoded);
    EXPECT_EQ(value->tbsResponseData.responses.count, 100000U);
}

TEST_F(OcspModule, DamagedInputIsSafe) {
    survivesDamage(asn1D_OCSPResponse, asn1E_OCSPResponse, file("response-many.der"));
}

}  // namespace
