// Messages inside messages, and values that stay raw.
#include <gtest/gtest.h>

#include "schema/generated/cmp.h"
#include "schema/generated/cms.h"
#include "schema/generated/ocsp.h"
#include "tests/schema/catalogue.h"
#include "tests/schema/codec_fixture.h"
#include "tests/support/tlv.h"

namespace {

using namespace asn1data;
using namespace testkit;

class OpenTypeCodec : public schematest::CodecTest {
protected:
    static const schematest::TypeRow& type(const char* name) { return *findType(schematest::catalogue().types, name); }
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

TEST_F(OpenTypeCodec, DecodesNestedMessagesUpToTheLimit) {
    const struct {
        const char* type;
        Bytes innermost;
        Bytes (*wrap)(const Bytes&);
        Bytes (*finish)(const Bytes&);
    } rows[] = {
        {"PKIMessage", message(19, tlv::null()), [](const Bytes& inner) { return message(20, tlv::sequence({inner})); },
         [](const Bytes& all) { return all; }},
        {"PKIMessage", revocation({}), [](const Bytes& inner) { return revocation(instantRevocation(inner)); },
         [](const Bytes& all) { return all; }},
        {"ContentInfo", signedData("1.2.840.113549.1.7.1", {1, 2}),
         [](const Bytes& inner) { return signedData("1.2.840.113549.1.7.2", inner); }, contentInfo},
    };
    for (const auto& row : rows) {
        for (const int depth : {1, 10, 64, 2000}) {
            Bytes octets = row.innermost;
            for (int i = 1; i < depth; ++i) {
                octets = row.wrap(octets);
            }
            EXPECT_EQ(again(type(row.type), row.finish(octets)),
                      depth <= 10 ? "same" : std::to_string(STATUS_BAD_VALUE))
                << row.type << ", " << depth;
        }
    }
}

TEST_F(OpenTypeCodec, DecodesAMessageInAnExtensionOfAResponse) {
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
    EXPECT_EQ(encoded(asn1E_BasicOCSPResponse, basic), octets);
    ASN1T_BasicOCSPResponse damaged;
    EXPECT_EQ(decode(asn1D_BasicOCSPResponse, damaged, response(message(18, tlv::null()))), STATUS_TAG_MISMATCH);
}

}  // namespace
