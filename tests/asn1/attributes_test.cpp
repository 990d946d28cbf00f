#include "asn1/attributes/attribute.h"
#include "asn1/attributes/certificate_values.h"
#include "asn1/attributes/content_info_traits.h"
#include "asn1/attributes/ess_cert_id.h"
#include "asn1/attributes/other_cert_id.h"
#include "asn1/attributes/other_hash.h"
#include "asn1/attributes/signing_certificate.h"
#include "asn1/attributes/typed_attributes.h"
#include "asn1/extensions/policy_information.h"
#include "tests/asn1/value_fixture.h"

namespace {

using Orvane::CBlob;
using namespace Orvane::ASN1;
using namespace testkit;

const Bytes kHash = fromHex("0102030405");
const Bytes kIssuerSerial = tlv::sequence({tlv::sequence({tlv::contextPrimitive(2, bytesOf("ca"))}), tlv::integer(7)});
const Bytes kSha256 = tlv::oid("2.16.840.1.101.3.4.2.1");

CIssuerSerial issuerSerial() {
    CIssuerSerial result;
    result.decode(blob(kIssuerSerial));
    return result;
}

TEST(Attribute, GivesItsIdentifierToPlainValues) {
    CAttribute attribute("1.2.3");
    attribute.add(blob(tlv::null()));
    attribute.add(CAttrValue("1.2.4", blob(tlv::integer(1))));
    EXPECT_STREQ(attribute.begin()->get_oid(), "1.2.3");
    EXPECT_STREQ(std::next(attribute.begin())->get_oid(), "1.2.4");

    // The set is sorted on the wire, and the list keeps its order; a foreign identifier is not encoded.
    EXPECT_EQ(hexOf(attribute.encode()),
              toHex(tlv::sequence({tlv::oid("1.2.3"), tlv::set({tlv::integer(1), tlv::null()})})));
    CAttribute copy = attribute;
    EXPECT_TRUE(copy == attribute);
    copy.decode(attribute.encode());
    EXPECT_FALSE(copy == attribute);
    EXPECT_STREQ(copy.begin()->get_oid(), "1.2.3");
    attribute.erase(attribute.begin());
    EXPECT_EQ(attribute.size(), 1U);
    EXPECT_EQ(copy.size(), 2U);
}

TEST(Attributes, FindTheFirstOfAnIdentifier) {
    const auto one = [](const char* oid, int value) {
        return tlv::sequence({tlv::oid(oid), tlv::set({tlv::integer(value)})});
    };
    CAttributes attributes;
    attributes.emplace_back("1.2.9");
    attributes.decode(blob(tlv::set({one("1.2.3", 1), one("1.2.3", 2), one("1.2.4", 3)})));
    EXPECT_EQ(attributes.size(), 3U);
    EXPECT_EQ(attributes.find("1.2.9"), attributes.end());
    attributes.erase("1.2.3");
    attributes.erase("1.2.9");
    EXPECT_EQ(hexOf(attributes.encode()), toHex(tlv::set({one("1.2.3", 2), one("1.2.4", 3)})));
    EXPECT_EQ(hexOf(CAttributes().encode()), "3100");
}

TEST(CertificateIdentifiers, LeaveOutSha256WhateverItsParameters) {
    const Bytes expected = tlv::sequence({tlv::octetString(kHash)});
    CAlgorithmIdentifier sha256("2.16.840.1.101.3.4.2.1");
    sha256.put_parameters(blob(tlv::null()));
    EXPECT_EQ(hexOf(CESSCertIDv2(blob(kHash)).encode()), toHex(expected));
    EXPECT_EQ(hexOf(CESSCertIDv2(blob(kHash), sha256).encode()), toHex(expected));

    CESSCertIDv2 id(blob(kHash), CAlgorithmIdentifier("1.3.14.3.2.26"));
    const CIssuerSerial issuer = issuerSerial();
    id.put_issuerSerial(&issuer);
    id.decode(blob(expected));
    EXPECT_STREQ(id.get_hashAlgorithm().get_algorithm(), "2.16.840.1.101.3.4.2.1");
    EXPECT_EQ(id.get_issuerSerial(), nullptr);
    EXPECT_TRUE(id == CESSCertIDv2(blob(kHash)));
    // Some write the default all the same.
    id.decode(blob(tlv::sequence({tlv::sequence({kSha256, tlv::null()}), tlv::octetString(kHash)})));
    EXPECT_FALSE(id == CESSCertIDv2(blob(kHash))) << "parameters count";
    EXPECT_EQ(hexOf(id.encode()), toHex(expected));
}

TEST(CertificateIdentifiers, CompareWithoutHashParameters) {
    CAlgorithmIdentifier withNull("1.3.14.3.2.26");
    withNull.put_parameters(blob(tlv::null()));
    const CIssuerSerial issuer = issuerSerial();
    const COtherCertID plain(blob(kHash), CAlgorithmIdentifier("1.3.14.3.2.26"));
    COtherCertID other(blob(kHash), withNull);
    EXPECT_FALSE(plain == other);
    EXPECT_TRUE(plain.compare_noHashParam(other));
    EXPECT_FALSE(plain.compare_noHashParam(COtherCertID(blob(kHash)))) << "another alternative";
    EXPECT_FALSE(plain.compare_noHashParam(COtherCertID(blob(tlv::null()), withNull)));
    other.put_issuerSerial(&issuer);
    EXPECT_FALSE(plain.compare_noHashParam(other)) << "absent matches absent only";
}

TEST(ValueClasses, DecodeBytesThatTheyHold) {
    const Bytes digest = tlv::sequence({tlv::oid("1.2.3"), tlv::set({tlv::octetString(Bytes(4096, 0x5A))})});
    CAttributes attributes;
    attributes.emplace_back("1.2.4").add(blob(tlv::set({digest})));
    attributes.decode(attributes.front().begin()->get_value());
    EXPECT_EQ(hexOf(attributes.encode()), toHex(tlv::set({digest})));

    const CBlob id = blob(tlv::sequence({tlv::octetString(kHash), kIssuerSerial}));
    const auto held = [&](auto value, const CBlob& (*content)(const decltype(value)&)) {
        value.decode(content(value));
        EXPECT_EQ(hexOf(value.encode()), hexOf(id));
    };
    held(CESSCertID(id), [](const CESSCertID& value) -> const CBlob& { return value.get_certHash(); });
    held(CESSCertIDv2(id), [](const CESSCertIDv2& value) -> const CBlob& { return value.get_certHash(); });
    held(COtherCertID(id),
         [](const COtherCertID& value) -> const CBlob& { return *value.get_otherCertHash().get_sha1Hash(); });
}

/// One list of one identifier and two policies, set one after the other in a fresh attribute.
template <class Attribute, class CertID>
void expectPolicies(const char* oid, const CertID& id, bool encodedAtOnce) {
    SCOPED_TRACE(oid);
    const Bytes certs = tlv::sequence({fromHex(hexOf(id.encode()))});
    const Bytes policies = tlv::sequence({tlv::sequence({tlv::oid("1.2.3")}), tlv::sequence({tlv::oid("1.2.4")})});
    const std::string without = toHex(tlv::sequence({certs}));
    const std::string with = toHex(tlv::sequence({certs, policies}));
    CPolicyInformationList list = {CPolicyInformation("1.2.3"), CPolicyInformation("1.2.4")};

    Attribute attribute;
    EXPECT_STREQ(attribute.get_oid(), oid);
    EXPECT_EQ(attribute.get_value().cbData(), 0U);
    attribute.put_certs({id});
    EXPECT_EQ(hexOf(attribute.get_value()), without);
    attribute.put_policies(&list);
    EXPECT_EQ(attribute.get_policies()->size(), 2U);
    EXPECT_EQ(hexOf(attribute.get_value()), encodedAtOnce ? with : without);
    attribute.put_certs(attribute.get_certs());
    EXPECT_EQ(hexOf(attribute.get_value()), with);

    const Attribute again(attribute.get_value());
    EXPECT_STREQ(again.get_policies()->back().get_policyIdentifier(), "1.2.4");
    EXPECT_TRUE(again.get_certs() == attribute.get_certs());
    list.clear();
    attribute.put_policies(&list);
    attribute.encode();
    EXPECT_EQ(hexOf(attribute.get_value()), without) << "an empty list is left out";
    attribute.decode();
    EXPECT_EQ(attribute.get_policies(), nullptr);
    EXPECT_EQ(again.get_policies()->size(), 2U) << "a copy of its own";
    EXPECT_THAT(thrownStatus([] { Attribute(blob(tlv::null())); }), IsStatus(status::kAsn1Error));
}

TEST(SigningCertificate, EncodesPoliciesAtOnceInOneOfThreeClasses) {
    expectPolicies<CAttrSigningCertificate>("1.2.840.113549.1.9.16.2.12", CESSCertID(blob(kHash)), false);
    expectPolicies<CAttrSigningCertificateV2>("1.2.840.113549.1.9.16.2.47", CESSCertIDv2(blob(kHash)), false);
    expectPolicies<CAttrOtherSigningCertificate>("1.2.840.113549.1.9.16.2.19", COtherCertID(blob(kHash)), true);
}

TEST(ContentInfo, ChecksTheContentOfKnownTypes) {
    const Bytes other = tlv::sequence({tlv::oid("1.2.3"), tlv::context(0, tlv::integer(1))});
    CContentInfo message("1.2.3", blob(tlv::integer(1)));
    EXPECT_EQ(hexOf(message.encode()), toHex(other));
    message.put_contentType("1.2.840.113549.1.7.1");  // data: an OCTET STRING
    EXPECT_THAT(thrownStatus([&] { message.encode(); }), IsStatus(status::kAsn1Error));
    message.decode(blob(other));
    EXPECT_STREQ(message.get_contentType(), "1.2.3");

    ctxt_handle context;
    ASSERT_TRUE(context.init());
    asn1data::ASN1T_ContentInfo record;
    ASN1T_ContentInfo_traits::set(context.get(), record, blob(other));
    CBlob again;
    ASN1T_ContentInfo_traits::get(record, again);
    EXPECT_EQ(again, blob(other)) << "as a whole message";
}

TEST(TypedAttributes, KeepValueAndMemberInStep) {
    CAttrMessageDigest digest;
    EXPECT_EQ(digest.get_value().cbData(), 0U);
    digest.put_messageDigest(blob(kHash));
    EXPECT_EQ(hexOf(digest.get_value()), toHex(tlv::octetString(kHash)));
    EXPECT_EQ(CAttrMessageDigest(digest.get_value()).get_messageDigest(), blob(kHash));
    digest.value() = blob(tlv::octetString({}));
    digest.decode();
    EXPECT_EQ(digest.get_messageDigest().cbData(), 0U);

    CAttrContentType type("1.2.840.113549.1.7.1");
    EXPECT_STREQ(CAttrContentType(type.get_value()).get_contentType(), "1.2.840.113549.1.7.1");
    const CBlob before = type.get_value();
    EXPECT_THAT(thrownStatus([&] { type.put_contentType("data"); }), IsStatus(status::kInvalidArgument));
    EXPECT_EQ(type.get_value(), before);

    for (const Bytes& bad : {Bytes(), tlv::null(), Bytes{0x04, 0x05, 0x01}}) {
        SCOPED_TRACE(toHex(bad));
        EXPECT_THAT(thrownStatus([&] { CAttrMessageDigest(blob(bad)); }), IsStatus(status::kAsn1Error));
        EXPECT_THAT(thrownStatus([&] { CAttrContentType(blob(bad)); }), IsStatus(status::kAsn1Error));
        EXPECT_THAT(thrownStatus([&] { CAttrSigningTime(blob(bad)); }), IsStatus(status::kAsn1Error));
        type.value() = blob(bad);
        EXPECT_THAT(thrownStatus([&] { type.decode(); }), IsStatus(status::kAsn1Error));
        EXPECT_STREQ(type.get_contentType(), "data") << "the member stays";
    }
}

}  // namespace
