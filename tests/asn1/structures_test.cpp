#include <gmock/gmock.h>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/algorithms/big_integer.h"
#include "asn1/extensions/access_description.h"
#include "asn1/extensions/distribution_point.h"
#include "asn1/names/issuer_serial.h"
#include "asn1/names/name.h"
#include "handles/status.h"
#include "tests/asn1/blobs.h"
#include "tests/support/status_matcher.h"
#include "tests/support/tlv.h"

namespace {

using namespace Orvane::ASN1;
using namespace testkit;

constexpr const char* kOcspMethod = "1.3.6.1.5.5.7.48.1";

Bytes url(const char* text) {
    return tlv::contextPrimitive(6, bytesOf(text));
}

TEST(Structures, DecodeAndEncodeTheSameBytes) {
    const Bytes names = tlv::context(2, tlv::contextPrimitive(2, bytesOf("ca")));
    const Bytes fullName = tlv::context(0, tlv::context(0, url("http://c/1")));
    const Bytes reasons = tlv::contextPrimitive(1, fromHex("0560"));  // bits 1 and 2
    const auto roundTrip = [](auto value, const Bytes& der) {
        value.decode(blob(der));
        EXPECT_EQ(hexOf(value.encode()), toHex(der));
    };
    roundTrip(CAccessDescription(), tlv::sequence({tlv::oid(kOcspMethod), url("http://o")}));
    roundTrip(CAuthorityInfoAccessSyntax(), tlv::sequence({tlv::sequence({tlv::oid(kOcspMethod), url("http://o")}),
                                                           tlv::sequence({tlv::oid("1.2.3"), url("http://p")})}));
    roundTrip(CAuthorityInfoAccessSyntax(), tlv::sequence(std::vector<Bytes>{}));
    roundTrip(CDistributionPoint(), tlv::sequence({fullName, reasons, names}));
    roundTrip(CDistributionPoint(), tlv::sequence(std::vector<Bytes>{}));
    roundTrip(CCRLDistPointsSyntax(), tlv::sequence({tlv::sequence({fullName}), tlv::sequence({reasons})}));
    roundTrip(CAlgorithmIdentifier(), tlv::sequence({tlv::oid("1.2.840.113549.1.1.11"), tlv::null()}));
    roundTrip(CAlgorithmIdentifier(), tlv::sequence({tlv::oid("1.2.840.10045.4.3.2")}));
    roundTrip(CIssuerSerial(),
              tlv::sequence({tlv::sequence({tlv::contextPrimitive(2, bytesOf("ca"))}), tlv::integer(4711)}));
    for (const char* content :
         {"00", "7f", "0080", "80", "ff7f", "00ff00", "0102030405060708090a0b0c0d0e0f1011121314"}) {
        roundTrip(CBigInteger(), tlv::integer(fromHex(content)));
    }
}

TEST(Structures, RefuseMalformedBytesAndStayAsTheyWere) {
    const auto refuses = [](auto value, const Bytes& before, const Bytes& der) {
        value.decode(blob(before));
        EXPECT_THAT(thrownStatus([&] { value.decode(blob(der)); }), IsStatus(status::kAsn1Error)) << toHex(der);
        EXPECT_EQ(hexOf(value.encode()), toHex(before));
    };
    const Bytes description = tlv::sequence({tlv::oid(kOcspMethod), url("http://o")});
    refuses(CAccessDescription(), description, tlv::sequence({tlv::oid(kOcspMethod)}));
    refuses(CAuthorityInfoAccessSyntax(), tlv::sequence({description}), tlv::sequence({description, tlv::null()}));
    refuses(CDistributionPoint(), tlv::sequence({tlv::contextPrimitive(1, fromHex("0560"))}),
            tlv::sequence({tlv::contextPrimitive(1, fromHex("0960"))}));
    refuses(CAlgorithmIdentifier(), tlv::sequence({tlv::oid("1.2.3")}), tlv::sequence({tlv::null()}));
    refuses(CAlgorithmIdentifier(), tlv::sequence({tlv::oid("1.2.3")}),
            tlv::sequence({tlv::oid("1.2.840.113549.1.1.1"), tlv::integer(1)}));  // its parameters are a NULL
    refuses(CBigInteger(), tlv::integer(5), tlv::octetString(fromHex("05")));
    refuses(CBigInteger(), tlv::integer(5), {0x02, 0x05, 0x01});
    refuses(CIssuerSerial(), tlv::sequence({tlv::sequence(std::vector<Bytes>{}), tlv::integer(1)}),
            tlv::sequence({tlv::integer(1)}));
}

TEST(Structures, EncodeNothingThatIsIncomplete) {
    EXPECT_THAT(thrownStatus([] { CBigInteger().encode(); }), IsStatus(status::kAsn1Error));
    EXPECT_THAT(thrownStatus([] { CAccessDescription().encode(); }), IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus([] { CAccessDescription(kOcspMethod, CGeneralName()).encode(); }),
                IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus([] { CDistributionPointName().encode(); }), IsStatus(status::kAsn1Error));
    EXPECT_THAT(thrownStatus([] { CAlgorithmIdentifier("RSA").encode(); }), IsStatus(status::kAsn1Error));
    EXPECT_THAT(thrownStatus([] { CRelativeDistinguishedName().encode(); }), IsStatus(status::kAsn1Error));
}

TEST(AlgorithmIdentifier, ChecksTheParametersOfKnownAlgorithms) {
    CAlgorithmIdentifier rsa("1.2.840.113549.1.1.1");
    EXPECT_EQ(hexOf(rsa.encode()), toHex(tlv::sequence({tlv::oid("1.2.840.113549.1.1.1")}))) << "left out when empty";
    rsa.put_parameters(blob(tlv::null()));
    EXPECT_EQ(hexOf(rsa.encode()), toHex(tlv::sequence({tlv::oid("1.2.840.113549.1.1.1"), tlv::null()})));
    rsa.put_parameters(blob(tlv::integer(1)));
    EXPECT_THAT(thrownStatus([&] { rsa.encode(); }), IsStatus(status::kAsn1Error));
    EXPECT_FALSE(rsa == CAlgorithmIdentifier("1.2.840.113549.1.1.1"));
}

TEST(AlgorithmIdentifierEx, ForgetsTheNumberWithTheIdentifier) {
    CAlgorithmIdentifierEx algorithm("1.2.3");
    algorithm.put_algId(0x8004);
    algorithm.put_algorithm("1.2.3");
    EXPECT_EQ(algorithm.get_algId(), 0x8004U);
    algorithm.decode(blob(tlv::sequence({tlv::oid("1.2.3"), tlv::null()})));
    EXPECT_EQ(algorithm.get_algId(), 0x8004U) << "decoding goes through put_algorithm too";
    algorithm.decode(blob(tlv::sequence({tlv::oid("1.2.4")})));
    EXPECT_EQ(algorithm.get_algId(), 0U);
    EXPECT_EQ(algorithm.get_parameters().cbData(), 0U);

    CAlgorithmIdentifierEx other("1.2.5");
    other.put_algId(7);
    algorithm.swap(other);
    EXPECT_EQ(algorithm.get_algId(), 7U);
    EXPECT_STREQ(other.get_algorithm(), "1.2.4");
}

TEST(DistributionPoint, LeavesAnEmptyIssuerOffTheWire) {
    const CGeneralNames empty;
    CDistributionPoint point;
    point.put_cRLIssuer(&empty);
    EXPECT_NE(point.get_cRLIssuer(), nullptr);
    EXPECT_FALSE(point == CDistributionPoint());
    EXPECT_EQ(hexOf(point.encode()), "3000");
    point.decode(point.encode());
    EXPECT_EQ(point.get_cRLIssuer(), nullptr);
    EXPECT_TRUE(point == CDistributionPoint());
}

TEST(DistributionPoint, CannotHoldARelativeName) {
    CDistributionPointName name((CGeneralNames()));
    const Bytes element = tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String("a")});
    name.decode(blob(tlv::context(1, element)));
    EXPECT_EQ(name.get_type(), 0U);
    EXPECT_EQ(name.get_fullName(), nullptr);
}

TEST(DistributionPoint, CopiesDeeply) {
    const CReasonFlags reasons(CReasonFlags::kKeyCompromise);
    CDistributionPoint point;
    point.put_reasons(&reasons);
    const CDistributionPoint copy = point;
    point.put_reasons(point.get_reasons());
    EXPECT_TRUE(copy == point);
    point.put_reasons(nullptr);
    EXPECT_EQ(copy.get_reasons()->get_value(), 2U);
    EXPECT_FALSE(copy == point);
}

TEST(ReasonFlags, MapBitsToTheBitString) {
    const struct {
        unsigned int value;
        const char* content;  // of the [1] BIT STRING
        unsigned int readBack;
    } rows[] = {
        {0, "00", 0},
        {1, "0780", 1},
        {2, "0640", 2},
        {256,
         "07"
         "0080",
         256},
        {0x8000, "000001", 0x8000},
        {0x30002, "0640", 2},  // bits above 15 do not go out
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        const CReasonFlags reasons(row.value);
        CDistributionPoint point;
        point.put_reasons(&reasons);
        EXPECT_EQ(hexOf(point.encode()), toHex(tlv::sequence({tlv::contextPrimitive(1, fromHex(row.content))})));
        point.decode(point.encode());
        EXPECT_EQ(point.get_reasons()->get_value(), row.readBack);
    }
    CDistributionPoint point;  // 40 bits, all set: what the value has no place for is dropped
    point.decode(blob(tlv::sequence({tlv::contextPrimitive(1, fromHex("00ffffffffff"))})));
    EXPECT_EQ(point.get_reasons()->get_value(), 0xFFFFFFFFU);

    CReasonFlags flags(0);
    flags.put_bit(33, true);
    EXPECT_EQ(flags.get_value(), 2U) << "bit numbers count modulo 32";
    flags.add_flag(CReasonFlags::kAACompromise);
    flags.remove_flag(CReasonFlags::kKeyCompromise);
    EXPECT_TRUE(flags.get_flag(CReasonFlags::kAACompromise));
    EXPECT_EQ(flags.get_value(), 256U);
}

TEST(Name, EncodesWhatItsTextSays) {
    const Bytes element = tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String("a")});
    EXPECT_EQ(hexOf(CName(L"CN=a").encode()), toHex(tlv::sequence({tlv::set({element})})));
    EXPECT_EQ(hexOf(CName().encode()), "3000");
    CName decoded(L"CN=before");
    decoded.decode(blobFromHex("3000"));
    EXPECT_TRUE(decoded.empty());

    // The set is sorted on the wire, and the list keeps its order.
    const CRelativeDistinguishedName pair(L"O=b+CN=a");
    const Bytes organization = tlv::sequence({tlv::oid("2.5.4.10"), tlv::utf8String("b")});
    EXPECT_EQ(hexOf(pair.encode()), toHex(tlv::set({element, organization})));
    EXPECT_STREQ(pair.toString().c_str(), L"O=b+CN=a");
}

TEST(Name, RefusesToEncodeBadElements) {
    EXPECT_THAT(thrownStatus([] { CName(L"CN=a, O=#0500").encode(); }), IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus([] { CAttributeTypeAndValue("2.5.4.3", blobFromHex("0500")).encode(); }),
                IsStatus(status::kAsn1Error));
    EXPECT_EQ(hexOf(CAttributeTypeAndValue("1.2.3", blobFromHex("0500")).encode()),
              toHex(tlv::sequence({tlv::oid("1.2.3"), tlv::null()})));
}

}  // namespace
