// The value classes and text conversions against text tables.
#include "tests/support/vectors.h"
#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/attributes/attribute.h"
#include "asn1/attributes/content_info.h"
#include "asn1/attributes/ess_cert_id.h"
#include "asn1/attributes/other_cert_id.h"
#include "asn1/extensions/access_description.h"
#include "asn1/extensions/distribution_point.h"
#include "asn1/extensions/extensions.h"
#include "asn1/extensions/policy_information.h"
#include "asn1/names/name.h"
#include "asn1/status/info_type_and_value.h"
#include "asn1/status/rev_ann_content.h"
#include "asn1/text/char_string.h"
#include "asn1/text/object_id_text.h"
#include "asn1/text/text_conversions.h"
#include "asn1/text/time_choice.h"
#include "tests/asn1/value_fixture.h"

namespace {

using Orvane::CBlob;
using namespace Orvane::ASN1;
using namespace testkit;

struct StatusInfo : CPKIStatusInfo {
    StatusInfo() : CPKIStatusInfo(kStatusAccepted) {}
};
struct FailureInfo : CPKIFailureInfo {
    FailureInfo() : CPKIFailureInfo(0) {}
};

template <class Value>
std::string again(const std::string& hex) {
    static CBlob lastEncoded;
    Value value;
    if (lastEncoded.cbData() != 0) {
        value.decode(lastEncoded);
    }
    const std::int32_t thrown = thrownStatus([&] { value.decode(blobFromHex(hex)); });
    if (thrown != status::kOk) {
        EXPECT_EQ(value.encode(), lastEncoded) << hex << " changed the value";
        return status::symbol(thrown);
    }
    lastEncoded = value.encode();
    const Value copy = value;
    EXPECT_EQ(copy.encode(), lastEncoded) << hex;
    return hexOf(lastEncoded);
}

TEST(ValueClasses, DecodeAndEncodeTheirVectors) {
    expectVectors("asn1/values.txt", {{"AccessDescription", again<CAccessDescription>},
                                      {"AuthorityInfoAccessSyntax", again<CAuthorityInfoAccessSyntax>},
                                      {"DistributionPoint", again<CDistributionPoint>},
                                      {"CRLDistPointsSyntax", again<CCRLDistPointsSyntax>},
                                      {"AlgorithmIdentifier", again<CAlgorithmIdentifier>},
                                      {"IssuerSerial", again<CIssuerSerial>},
                                      {"BigInteger", again<CBigInteger>},
                                      {"ESSCertID", again<CESSCertID>},
                                      {"ESSCertIDv2", again<CESSCertIDv2>},
                                      {"OtherHash", again<COtherHash>},
                                      {"OtherCertID", again<COtherCertID>},
                                      {"PolicyInformation", again<CPolicyInformation>},
                                      {"Extension", again<CExtension>},
                                      {"Extensions", again<CExtensions>},
                                      {"GeneralName", again<CGeneralName>},
                                      {"Name", again<CName>},
                                      {"Time", again<CTimeChoice>},
                                      {"PKIFailureInfo", again<FailureInfo>},
                                      {"PKIStatusInfo", again<StatusInfo>},
                                      {"Attribute", again<CAttribute>},
                                      {"Attributes", again<CAttributes>},
                                      {"ContentInfo", again<CContentInfo>},
                                      {"InfoTypeAndValueList", again<CInfoTypeAndValueList>},
                                      {"CertId", again<CCertId>},
                                      {"RevAnnContent", again<CRevAnnContent>}});
}

std::function<std::string(const std::string&)> writer(StringType type) {
    return [type](const std::string& text) { return hexOf(encodeCharString(towstring(text.c_str()).c_str(), type)); };
}

CBigInteger number(const std::string& hex) {
    const Bytes bytes = fromHex(hex);
    return CBigInteger(bytes.data(), bytes.size());
}

std::string compared(const std::string& row) {
    const CBigInteger left = number(row.substr(0, row.find(',')));
    const CBigInteger right = number(row.substr(row.find(',') + 1));
    const int order = left.compare(right);
    EXPECT_EQ(right.compare(left) > 0, order < 0) << row;
    EXPECT_EQ(left == right, order == 0) << row;
    EXPECT_EQ(left < right, order < 0) << row;
    return order == 0 ? "equal" : order < 0 ? "less" : "greater";
}

std::string namedAndShown(const std::string& text) {
    return answered([&] {
        const CName name(towstring(text.c_str()).c_str());
        EXPECT_EQ(tostring(name.toString().c_str()), text);
        return std::to_string(name.front().size()) + " of " + std::to_string(name.size());
    });
}

TEST(Texts, AnswerTheirVectors) {
    expectVectors(
        "asn1/texts.txt",
        {{"write UTF8", writer(kStringTypeUTF8)},
         {"write Printable", writer(kStringTypePrintable)},
         {"write Teletex", writer(kStringTypeTeletex)},
         {"write IA5", writer(kStringTypeIA5)},
         {"write BMP", writer(kStringTypeBMP)},
         {"write Universal", writer(kStringTypeUniversal)},
         {"read string",
          [](const std::string& hex) {
              return answered([&] { return tostring(decodeCharString(blobFromHex(hex)).c_str()); });
          }},
         {"object id",
          [](const std::string& text) {
              ASN1OBJID oid{};
              const bool isRead = str2oid(text.c_str(), &oid) == 0;
              EXPECT_THAT(thrownStatus([&] { toASN1OBJID(text.c_str()); }),
                          IsStatus(isRead ? status::kOk : status::kInvalidArgument));
              return isRead ? std::string(toOID(oid).c_str()) : "refused";
          }},
         {"compare", compared},
         {"increment",
          [](const std::string& row) {
              CBigInteger value = number(row.substr(0, row.find(',')));
              value.increment(std::stoi(row.substr(row.find(',') + 1)));
              return hexOf(value);
          }},
         {"number",
          [](const std::string& text) {
              CBigInteger value = number("55");
              const std::string answer = answered([&] {
                  StringToBigInteger(text.c_str(), value);
                  return hexOf(value);
              });
              EXPECT_TRUE(answer != "Asn1Error" || hexOf(value) == "55") << text << " changed the value";
              return answer;
          }},
         {"name", namedAndShown},
         {"attribute", [](const std::string& text) {
              return hexOf(CAttributeTypeAndValue(towstring(text.c_str()).c_str(), kStringTypeDefault).get_value());
          }}});
    EXPECT_EQ(towstring(nullptr), L"");
    const unsigned short wide[] = {0x41, 0xE9, 0};
    EXPECT_EQ(tostring(wide), "A\xC3\xA9");
    EXPECT_EQ(tostring(static_cast<const unsigned short*>(nullptr)), "");
}

TEST(ObjectIdText, WritesTheLongestIdentifierAndTheEmptyOne) {
    ASN1OBJID oid{};
    EXPECT_EQ(str2oid(nullptr, &oid), 1);
    CBlob text;
    EXPECT_EQ(oid2str(text, &oid), 1);
    EXPECT_EQ(text.cbData(), 1U);
    oid.numids = 1000;  // a record that claims more than it can hold
    std::fill(std::begin(oid.subid), std::end(oid.subid), 0xFFFFFFFF);
    EXPECT_EQ(oid2str(text, &oid), 1);
    EXPECT_EQ(text.cbData(), 128U * 11U);
    EXPECT_EQ(text.pbData()[text.cbData() - 1], 0);
}

}  // namespace
