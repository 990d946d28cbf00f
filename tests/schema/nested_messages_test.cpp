// Messages that hold messages, and values that keep their octets inside them.
#include <gtest/gtest.h>

#include "schema/generated/cmp.h"
#include "schema/generated/cms.h"
#include "schema/generated/dvcs.h"
#include "schema/generated/ocsp.h"
#include "schema/generated/tsp.h"
#include "tests/schema/codec_fixture.h"
#include "tests/support/tlv.h"

namespace {

using namespace asn1data;
using namespace testkit;

class NestedMessages : public schematest::CodecTest {
protected:
    int decodeValue(const schema::TypeInfo& type, void* value, const Bytes& octets) {
        input_ = octets;
        rtErrReset(&ctxt_.errInfo);
        const int status = xd_setp(&ctxt_, input_.data(), static_cast<int>(input_.size()), nullptr, nullptr);
        return status != 0 ? status : schema::decodeValue(&ctxt_, type, value, TAG_EXPLICIT, 0);
    }

    Bytes encodeValue(const schema::TypeInfo& type, void* value) {
        EXPECT_EQ(xe_setp(&ctxt_, nullptr, 0), 0);
        const int length = schema::encodeValue(&ctxt_, type, value, TAG_EXPLICIT);
        EXPECT_GT(length, 0) << "status " << length;
        return length > 0 ? Bytes(xe_getp(&ctxt_), xe_getp(&ctxt_) + length) : Bytes();
    }
};

constexpr const char* kInstantRevocation = "1.2.643.2.2.47.3";
const Bytes kTime = tlv::generalizedTime("20260102030405Z");
const Bytes kSomebody = tlv::contextPrimitive(6, Bytes{'u'});
const Bytes kHeader = tlv::sequence({tlv::integer(2), kSomebody, kSomebody});

Bytes message(unsigned alternative, const Bytes& body) {
    return tlv::sequence({kHeader, tlv::context(alternative, body)});
}

Bytes revocation(const Bytes& extensions) {
    return message(
        17, tlv::sequence({tlv::integer(5), tlv::sequence({kSomebody, tlv::integer(200)}), kTime, kTime, extensions}));
}

Bytes instantRevocation(const Bytes& value) {
    return tlv::sequence({tlv::sequence({tlv::oid(kInstantRevocation), tlv::octetString(value)})});
}

Bytes signedData(const char* contentType, const Bytes& content) {
    return tlv::sequence({tlv::integer(3), tlv::set({}),
                          tlv::sequence({tlv::oid(contentType), tlv::context(0, tlv::octetString(content))}),
                          tlv::set({})});
}

Bytes contentInfo(const Bytes& content) {
    return tlv::sequence({tlv::oid("1.2.840.113549.1.7.2"), tlv::context(0, content)});
}

TEST_F(NestedMessages, AreReadToTheLimitAndNoFurther) {
    const struct {
        const char* name;
        const schema::TypeInfo* type;
        Bytes innermost;
        Bytes (*wrap)(const Bytes&);
        Bytes (*finish)(const Bytes&);
    } rows[] = {
        {"management messages", &kType_PKIMessage, message(19, tlv::null()),
         [](const Bytes& inner) { return message(20, tlv::sequence({inner})); }, [](const Bytes& all) { return all; }},
        {"management messages in extensions", &kType_PKIMessage, revocation({}),
         [](const Bytes& inner) { return revocation(instantRevocation(inner)); }, [](const Bytes& all) { return all; }},
        {"signed data in signed data", &kType_ContentInfo, signedData("1.2.840.113549.1.7.1", {1, 2}),
         [](const Bytes& inner) { return signedData("1.2.840.113549.1.7.2", inner); }, contentInfo},
    };
    for (const auto& row : rows) {
        for (const int depth : {1, 10, 64, 2000}) {
            SCOPED_TRACE(std::string(row.name) + ", " + std::to_string(depth));
            Bytes octets = row.innermost;
            for (int i = 1; i < depth; ++i) {
                octets = row.wrap(octets);
            }
            octets = row.finish(octets);
            std::vector<std::uint64_t> value(row.type->size / 8 + 1);
            const int status = decodeValue(*row.type, value.data(), octets);
            EXPECT_EQ(status, depth <= 10 ? 0 : STATUS_BAD_VALUE);
            if (status == 0) {
                EXPECT_EQ(encodeValue(*row.type, value.data()), octets);
                schema::freeValue(&ctxt_, *row.type, value.data());
            }
        }
    }
}

TEST_F(NestedMessages, AreReadInTheExtensionOfAResponse) {
    const auto response = [](const Bytes& value) {
        const Bytes algorithm = tlv::sequence({tlv::oid("1.3.14.3.2.26"), tlv::null()});
        const Bytes id = tlv::sequence({algorithm, tlv::octetString({1}), tlv::octetString({2}), tlv::integer(200)});
        const Bytes single =
            tlv::sequence({id, tlv::contextPrimitive(0, {}), kTime, tlv::context(1, instantRevocation(value))});
        const Bytes data = tlv::sequence({tlv::context(2, tlv::octetString({3})), kTime, tlv::sequence({single})});
        return tlv::sequence({data, algorithm, tlv::bitString({1})});
    };
    const Bytes octets = response(revocation({}));
    ASN1T_BasicOCSPResponse basic;
    ASSERT_EQ(decode(asn1D_BasicOCSPResponse, basic, octets), 0);
    const auto* single = static_cast<ASN1T_SingleResponse*>(basic.tbsResponseData.responses.pHead->data);
    const auto* extension = static_cast<ASN1T_Extension*>(single->singleExtensions.pHead->data);
    const auto* decoded = static_cast<ASN1T_PKIMessage*>(extension->extnValueObject.decoded);
    ASSERT_NE(decoded, nullptr);
    ASSERT_EQ(decoded->body.t, ASN1T_PKIBody::T_rann);
    EXPECT_STREQ(decoded->body.u.rann->certId.serialNumber, "0x0c8");
    EXPECT_EQ(decoded->body.u.rann->status, PKIStatus_revocationNotification);
    EXPECT_EQ(encodeValue(kType_BasicOCSPResponse, &basic), octets);
    ASN1T_BasicOCSPResponse damaged;
    EXPECT_EQ(decode(asn1D_BasicOCSPResponse, damaged, response(message(18, tlv::null()))), STATUS_TAG_MISMATCH);
}

TEST_F(NestedMessages, KeptRawAreToldByTheirTags) {
    struct Row {
        const char* name;
        const schema::TypeInfo* type;
        Bytes octets;
        std::uint32_t t;  // 0: refused
    };
    const Row rows[] = {
        {"a revocation list", &kType_RevocationInfoChoice, tlv::sequence({tlv::null()}), 1},
        {"another form", &kType_RevocationInfoChoice, tlv::context(1, tlv::oid("1.2.3")), 0},
        {"another form with its value", &kType_RevocationInfoChoice, fromHex("A1 06 06 02 2A 03 05 00"), 2},
        {"neither", &kType_RevocationInfoChoice, tlv::null(), 0},
        {"a certificate", &kType_CertificateChoicesRaw, tlv::sequence({tlv::null()}), 1},
        {"an attribute certificate of the first version", &kType_CertificateChoicesRaw, tlv::context(1, {}), 0},
        {"one of the second version", &kType_CertificateChoicesRaw, tlv::context(2, tlv::null()), 4},
        {"one in another format", &kType_CertificateChoicesRaw, tlv::context(3, tlv::null()), 5},
        {"another tag", &kType_CertificateChoicesRaw, tlv::context(4, tlv::null()), 0},
        {"a certificate that is read", &kType_CertificateChoices, tlv::sequence({tlv::null()}), 0},
        {"one of the second version, beside those that are read", &kType_CertificateChoices, tlv::context(2, {}), 4},
        {"another tag, beside those that are read", &kType_CertificateChoices, tlv::null(), 0},
        {"a confirmation", &kType_PKIBody, tlv::context(24, tlv::sequence({})), 25},
        {"a digest", &kType_Data, tlv::sequence({tlv::sequence({tlv::oid("1.2.3")}), tlv::octetString({1})}), 2},
        {"chains of certificates", &kType_Data, fromHex("A0 06 30 04 A5 02 80 00"), 3},
    };
    for (const Row& row : rows) {
        std::vector<std::uint64_t> value(row.type->size / 8 + 1);
        const int status = decodeValue(*row.type, value.data(), row.octets);
        EXPECT_EQ(status == 0, row.t != 0) << row.name << ": " << status;
        if (status == 0) {
            const std::uint32_t t = *reinterpret_cast<std::uint32_t*>(&value[1]);
            EXPECT_EQ(t, row.t) << row.name;
            EXPECT_EQ(encodeValue(*row.type, value.data()), row.octets) << row.name;
        }
    }
    ASN1T_TimeStampRespRaw answer;
    ASSERT_EQ(decode(asn1D_TimeStampRespRaw, answer, "30 05 30 03 02 01 02"), 0);
    EXPECT_EQ(answer.m.timeStampTokenPresent, 0U);
    ASSERT_EQ(decode(asn1D_TimeStampRespRaw, answer, "30 07 30 03 02 01 00 30 00"), 0);
    EXPECT_EQ(answer.timeStampToken.numocts, 2U);
    EXPECT_EQ(decode(asn1D_TimeStampRespRaw, answer, "30 07 30 03 02 01 00 05 00"), STATUS_EXTRA_ELEMENT);
}

}  // namespace
