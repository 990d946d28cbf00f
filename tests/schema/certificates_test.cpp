// Tests of the certificate types with certificates made by openssl.
#include <gtest/gtest.h>

#include <cstring>

#include "schema/generated/attributes.h"
#include "schema/generated/certificates.h"
#include "schema/generated/extensions.h"
#include "schema/generated/identifiers.h"
#include "schema/generated/ocsp.h"
#include "tests/schema/codec_fixture.h"
#include "tests/support/tlv.h"

namespace {

using namespace asn1data;
using namespace testkit;

class CertificatesModule : public schematest::CodecTest {
protected:
    /// Returns the extension with this key, or null.
    static ASN1T_Extension* find(const ASN1T_Certificate& certificate, const ASN1OBJID& key) {
        for (auto* node = certificate.tbsCertificate.extensions.pHead; node != nullptr; node = node->pNext) {
            auto* extension = static_cast<ASN1T_Extension*>(node->data);
            if (extension->extnId == key) {
                return extension;
            }
        }
        return nullptr;
    }
};

Bytes extension(const char* key, const Bytes& value) {
    return tlv::sequence({tlv::oid(key), tlv::octetString(value)});
}

TEST_F(CertificatesModule, DecodesKnownExtensionsAndKeepsOthersRaw) {
    ASN1T_Certificate certificate;
    ASSERT_EQ(decode(asn1D_Certificate, certificate, file("leaf.der")), 0);
    EXPECT_STREQ(certificate.tbsCertificate.serialNumber, "0x0c0ffee00c0ffee00c0ffee");
    EXPECT_EQ(certificate.tbsCertificate.version, 2U);
    unsigned numRaw = 0;
    for (auto* node = certificate.tbsCertificate.extensions.pHead; node != nullptr; node = node->pNext) {
        numRaw += static_cast<ASN1T_Extension*>(node->data)->extnValueObject.decoded == nullptr ? 1 : 0;
    }
    EXPECT_EQ(numRaw, 2U);  // id-pkix-ocsp-nocheck and the TLS feature
    const ASN1T_Extension* points = find(certificate, id_ce_cRLDistributionPoints);
    ASSERT_NE(points, nullptr);
    const auto* point = static_cast<ASN1T_DistributionPoint*>(
        static_cast<ASN1T_CRLDistPointsSyntax*>(points->extnValueObject.decoded)->pHead->data);
    EXPECT_TRUE(point->m.distributionPointPresent && point->m.reasonsPresent && point->m.cRLIssuerPresent);
    EXPECT_EQ(point->distributionPoint.t, static_cast<unsigned>(ASN1T_DistributionPointName::T_fullName));
}

TEST_F(CertificatesModule, EncodesManySmallKnownValuesInLittleMemory) {
    const Bytes small = extension("2.5.29.19", tlv::sequence({}));
    const Bytes grows = extension("2.5.29.15", fromHex("03 00"));  // encoded as 03 01 00
    for (const Bytes& one : {small, grows}) {
        Bytes all;
        for (unsigned i = 0; i < 1000; ++i) {
            all.insert(all.end(), one.begin(), one.end());
        }
        ASN1T_Extensions list;
        ASSERT_EQ(decode(asn1D_Extensions, list, tlv::raw(0x30, all)), 0);
        const std::uint64_t before = ctxt_.pTypeMemHeap->used;
        EXPECT_GE(encode(asn1E_Extensions, list), static_cast<int>(all.size()));
        EXPECT_LT(ctxt_.pTypeMemHeap->used - before, 200000U);
    }
}

TEST_F(CertificatesModule, DamagedInputIsSafe) {
    survivesDamage(asn1D_Certificate, asn1E_Certificate, file("leaf.der"));
}

}  // namespace
