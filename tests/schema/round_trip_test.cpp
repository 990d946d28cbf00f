// Random values of every generated type: written, read back, copied, and freed to the last block.
#include <gtest/gtest.h>

#include <vector>

#include "schema/generated/attribute_certificates.h"
#include "schema/generated/attributes.h"
#include "schema/generated/ocsp.h"
#include "tests/schema/codec_fixture.h"
#include "tests/schema/random_value.h"

namespace {

using namespace asn1data;

struct NamedType {
    const char* name;
    const schema::TypeInfo* type;
};

// Types that no other one of the list contains, and a few small ones that are read on their own.
const NamedType kTypes[] = {
    {"Gost28147_89_EncryptedKey", &kType_Gost28147_89_EncryptedKey},
    {"Gost28147_89_Parameters", &kType_Gost28147_89_Parameters},
    {"GostR3410_2001_PublicKeyParameters", &kType_GostR3410_2001_PublicKeyParameters},
    {"GostR3410_PublicKey", &kType_GostR3410_PublicKey},
    {"GostR3411_94_Digest", &kType_GostR3411_94_Digest},
    {"DomainParameters", &kType_DomainParameters},
    {"_gost2012_256_PubKey_Type", &kType__gost2012_256_PubKey_Type},
    {"_gostR341194DigestParams_Type", &kType__gostR341194DigestParams_Type},
    {"SigningCertificate", &kType_SigningCertificate},
    {"SigningCertificateV2", &kType_SigningCertificateV2},
    {"EnrollmentCSPInfo", &kType_EnrollmentCSPInfo},
    {"_commonName_Type", &kType__commonName_Type},
    {"_unstructuredName_Type", &kType__unstructuredName_Type},
    {"PostalAddress", &kType_PostalAddress},
    {"TBSCertList", &kType_TBSCertList},
    {"CertificateListLegacy", &kType_CertificateListLegacy},
    {"AuthorityKeyIdentifier", &kType_AuthorityKeyIdentifier},
    {"CertificatePoliciesSyntax", &kType_CertificatePoliciesSyntax},
    {"QTUserNotice", &kType_QTUserNotice},
    {"PolicyMappingsSyntax", &kType_PolicyMappingsSyntax},
    {"NameConstraintsSyntax", &kType_NameConstraintsSyntax},
    {"PolicyConstraintsSyntax", &kType_PolicyConstraintsSyntax},
    {"PrivateKeyUsagePeriod", &kType_PrivateKeyUsagePeriod},
    {"AttributesSyntax", &kType_AttributesSyntax},
    {"BasicConstraintsSyntax", &kType_BasicConstraintsSyntax},
    {"IssuingDistPointSyntax", &kType_IssuingDistPointSyntax},
    {"CRLDistPointsSyntax", &kType_CRLDistPointsSyntax},
    {"AuthorityInfoAccessSyntax", &kType_AuthorityInfoAccessSyntax},
    {"IssuerSignTool", &kType_IssuerSignTool},
    {"_extKeyUsage_ExtnType", &kType__extKeyUsage_ExtnType},
    {"CountryName", &kType_CountryName},
    {"ORAddress", &kType_ORAddress},
    {"OCSPRequest", &kType_OCSPRequest},
    {"OCSPResponse", &kType_OCSPResponse},
    {"BasicOCSPResponse", &kType_BasicOCSPResponse},
    {"AcceptableResponses", &kType_AcceptableResponses},
    {"ServiceLocator", &kType_ServiceLocator},
    {"CrlID", &kType_CrlID},
};

constexpr std::uint32_t kNumSeeds = 40;

class RoundTrip : public schematest::CodecTest {
protected:
    void SetUp() override {
        CodecTest::SetUp();
        ASSERT_EQ(rtInitContext(&writer_, nullptr), 0);
    }
    void TearDown() override {
        rtFreeContext(&writer_);
        CodecTest::TearDown();
    }

    std::string write(const schema::TypeInfo& type, void* value) {
        EXPECT_EQ(xe_setp(&writer_, nullptr, 0), 0);
        const int length = schema::encodeValue(&writer_, type, value, TAG_EXPLICIT);
        if (length < 0) {
            return "status " + std::to_string(length);
        }
        return {reinterpret_cast<const char*>(xe_getp(&writer_)), static_cast<std::size_t>(length)};
    }

    ASN1CTXT writer_;
};

TEST_F(RoundTrip, RandomValuesComeBack) {
    for (const NamedType& row : kTypes) {
        for (std::uint32_t seed = 1; seed <= kNumSeeds; ++seed) {
            SCOPED_TRACE(std::string(row.name) + ", seed " + std::to_string(seed));
            // records are made of words, and start zeroed as they do in the heap
            std::vector<std::uint64_t> made(row.type->size / 8 + 1);
            std::vector<std::uint64_t> read(made.size());
            std::vector<std::uint64_t> copied(made.size());
            schematest::RandomValue(&writer_, seed).fill(*row.type, made.data());
            const std::string octets = write(*row.type, made.data());
            input_.assign(octets.begin(), octets.end());
            ASSERT_EQ(xd_setp(&ctxt_, input_.data(), static_cast<int>(input_.size()), nullptr, nullptr), 0);
            ASSERT_EQ(schema::decodeValue(&ctxt_, *row.type, read.data(), TAG_EXPLICIT, 0), 0);
            EXPECT_EQ(ctxt_.buffer.byteIndex, input_.size());
            schema::copyValue(&ctxt_, *row.type, read.data(), copied.data());
            ASSERT_EQ(write(*row.type, read.data()), octets);
            schema::freeValue(&ctxt_, *row.type, read.data());
            ASSERT_EQ(write(*row.type, copied.data()), octets);
            schema::freeValue(&ctxt_, *row.type, copied.data());
            ASSERT_TRUE(isHeapEmpty());
        }
    }
}

}  // namespace
