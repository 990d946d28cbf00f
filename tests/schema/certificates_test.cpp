// The certificate types on certificates made by openssl, and on what no tool would make.
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

class Certificates : public schematest::CodecTest {
protected:
    /// The extension with this key, or null.
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

TEST_F(Certificates, KnownExtensionsAreDecodedAndOthersStayRaw) {
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

TEST_F(Certificates, ExtensionsFollowTheirRules) {
    struct {
        const char* name;
        Bytes input;
        int status;
    } const rows[] = {
        {"known, well formed", extension("2.5.29.19", tlv::sequence({})), 0},
        {"known, not what it should be", extension("2.5.29.19", tlv::integer(5)), STATUS_TAG_MISMATCH},
        {"known, element behind the last", extension("2.5.29.19", tlv::sequence({tlv::boolean(true), tlv::null()})),
         STATUS_EXTRA_ELEMENT},
        {"known, empty octets", extension("2.5.29.19", {}), 0},
        {"known, size bound inside", extension("2.5.29.37", tlv::sequence({})), STATUS_CONSTRAINT},
        {"known, no size bound on names", extension("2.5.29.17", tlv::sequence({})), 0},
        {"known, enumerated in range", extension("2.5.29.21", tlv::enumerated(7)), 0},
        {"known, enumerated beyond", extension("2.5.29.21", tlv::enumerated(11)), STATUS_BAD_ENUM},
        {"known, NULL", extension("1.2.643.2.2.47.1", tlv::null()), 0},
        {"known, not NULL", extension("1.2.643.2.2.47.1", tlv::integer(1)), STATUS_TAG_MISMATCH},
        {"known, no message", extension("1.2.643.2.2.47.3", tlv::integer(1)), STATUS_TAG_MISMATCH},
        {"unknown", extension("2.5.29.99", fromHex("FF FF")), 0},
        {"nameConstraints under that of the standard", extension("2.5.29.30", tlv::integer(1)), 0},
        {"nameConstraints under its key here", extension("2.5.29.30.1", tlv::integer(1)), STATUS_TAG_MISMATCH},
        {"critical false written out",
         tlv::sequence({tlv::oid("2.5.29.99"), tlv::boolean(false), tlv::octetString({})}), 0},
        {"no value", tlv::sequence({tlv::oid("2.5.29.99")}), STATUS_MISSING_ELEMENT},
        {"one element more", tlv::sequence({tlv::oid("2.5.29.99"), tlv::octetString({}), tlv::null()}),
         STATUS_EXTRA_ELEMENT},
    };
    for (const auto& row : rows) {
        ASN1T_Extension value;
        EXPECT_EQ(decode(asn1D_Extension, value, row.input), row.status) << row.name;
        EXPECT_EQ(ctxt_.errInfo.status, row.status) << row.name;
        if (row.status == 0) {
            const bool isFalseDropped = std::strcmp(row.name, "critical false written out") == 0;
            EXPECT_EQ(encoded(asn1E_Extension, value), isFalseDropped ? extension("2.5.29.99", {}) : row.input)
                << row.name;
        }
    }
}

/// Octets asked for while it lives.
class AllocationCount {
public:
    AllocationCount() {
        total = 0;
        g_malloc_func = [](void* user, std::size_t size) {
            total += size;
            return rtDefaultMalloc(user, size);
        };
    }
    ~AllocationCount() { g_malloc_func = rtDefaultMalloc; }
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

    static inline std::size_t total = 0;
};

TEST_F(Certificates, ManySmallKnownValuesAreEncodedInLittleMemory) {
    const Bytes small = extension("2.5.29.19", tlv::sequence({}));
    const Bytes grows = extension("2.5.29.15", fromHex("03 00"));  // comes out as 03 01 00
    for (const Bytes& one : {small, grows}) {
        Bytes all;
        for (unsigned i = 0; i < 1000; ++i) {
            all.insert(all.end(), one.begin(), one.end());
        }
        ASN1T_Extensions list;
        ASSERT_EQ(decode(asn1D_Extensions, list, tlv::raw(0x30, all)), 0);
        const AllocationCount count;
        EXPECT_GE(encode(asn1E_Extensions, list), static_cast<int>(all.size()));
        EXPECT_LT(AllocationCount::total, 200000U);
    }
}

TEST_F(Certificates, ChoicesAndAttributesFollowTheirRules) {
    const Bytes when = bytesOf("260101000000Z");
    ASN1T_Time time;
    EXPECT_EQ(decode(asn1D_Time, time, tlv::raw(0x17, when)), 0);
    EXPECT_EQ(time.t, 1U);
    EXPECT_EQ(decode(asn1D_Time, time, tlv::raw(0x18, when)), 0);
    EXPECT_EQ(time.t, 2U);
    EXPECT_EQ(decode(asn1D_Time, time, tlv::raw(0x16, when)), STATUS_BAD_CHOICE);
    EXPECT_EQ(time.t, 0U);

    struct {
        const char* name;
        Bytes value;
        const char* type;
        int status;
    } const rows[] = {
        {"common name", tlv::utf8String("x"), "2.5.4.3", 0},
        {"common name as a number", tlv::integer(1), "2.5.4.3", STATUS_BAD_CHOICE},
        {"common name, empty", tlv::utf8String(""), "2.5.4.3", STATUS_CONSTRAINT},
        {"common name, 32769 characters", tlv::utf8String(std::string(32769, 'x')), "2.5.4.3", STATUS_CONSTRAINT},
        {"country in UTF-8", tlv::utf8String("DE"), "2.5.4.6", 0},
        {"country as a number", tlv::integer(1), "2.5.4.6", STATUS_BAD_CHOICE},
        {"unstructured name, plain alternative", tlv::ia5String("x"), "1.2.840.113549.1.9.2", 0},
        {"unknown type", tlv::integer(1), "2.5.4.5", 0},
        {"common name in a string type of its own", tlv::ia5String("x"), "2.5.4.3", 0},
        {"postal address as one string", tlv::utf8String("Main Street 1"), "2.5.4.16", 0},
        {"postal address as a number", tlv::integer(1), "2.5.4.16", STATUS_TAG_MISMATCH},
        {"string, constructed", fromHex("2C 03 0C 01 78"), "2.5.4.16", STATUS_TAG_MISMATCH},
    };
    for (const auto& row : rows) {
        const Bytes input = tlv::sequence({tlv::oid(row.type), row.value});
        ASN1T_AttributeTypeAndValue attribute;
        EXPECT_EQ(decode(asn1D_AttributeTypeAndValue, attribute, input), row.status) << row.name;
        const Bytes name = tlv::sequence({tlv::set({input})});
        ASN1T_Name whole;
        EXPECT_EQ(decode(asn1D_Name, whole, name), row.status) << row.name;
        if (row.status == 0) {
            EXPECT_EQ(encoded(asn1E_Name, whole), name) << row.name;
        }
    }
    ASN1T_Name name;
    EXPECT_EQ(decode(asn1D_Name, name, tlv::sequence({tlv::set({})})), STATUS_CONSTRAINT);
    EXPECT_EQ(decode(asn1D_Name, name, tlv::sequence({})), 0);
}

TEST_F(Certificates, DamagedOnesAreSafe) {
    survivesDamage(asn1D_Certificate, asn1E_Certificate, file("leaf.der"));
}

}  // namespace
