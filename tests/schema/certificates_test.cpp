// The certificate types on certificates made by openssl, and on what no tool would make.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>

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
    static Bytes file(const std::string& name) {
        std::ifstream in("data/schema/" + name, std::ios::binary);
        EXPECT_TRUE(in) << name;
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    template <class Record>
    Bytes encoded(int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), Record& record) {
        const int length = encode(encoder, record);
        EXPECT_GT(length, 0);
        return length > 0 ? Bytes(xe_getp(&ctxt_), xe_getp(&ctxt_) + length) : Bytes();
    }

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

ASN1TObjId keyOf(const char* text) {
    ASN1TObjId key;
    EXPECT_EQ(rtStrToOid(text, &key), 1) << text;
    return key;
}

Bytes extension(const char* key, const Bytes& value) {
    return tlv::sequence({tlv::oid(key), tlv::octetString(value)});
}

TEST_F(Certificates, FromOpensslComeOutAsTheyWere) {
    for (const char* name : {"root.der", "leaf.der", "ec.der", "ed25519.der", "constraints.der"}) {
        SCOPED_TRACE(name);
        const Bytes der = file(name);
        ASN1T_Certificate certificate;
        ASSERT_EQ(decode(asn1D_Certificate, certificate, der), 0);
        ASN1T_Certificate copy;
        asn1Copy_Certificate(&ctxt_, &certificate, &copy);
        EXPECT_EQ(encoded(asn1E_Certificate, certificate), der);
        asn1Free_Certificate(&ctxt_, &certificate);
        EXPECT_EQ(encoded(asn1E_Certificate, copy), der);
        asn1Free_Certificate(&ctxt_, &copy);
    }
}

TEST_F(Certificates, FreeingOneLeavesNothing) {
    ASN1T_Certificate certificate;
    ASSERT_EQ(decode(asn1D_Certificate, certificate, file("leaf.der")), 0);
    asn1Free_Certificate(&ctxt_, &certificate);
    EXPECT_TRUE(isHeapEmpty());
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
    const ASN1T_Extension* noCheck = find(certificate, id_pkix_ocsp_nocheck);
    ASSERT_NE(noCheck, nullptr);
    EXPECT_EQ(noCheck->extnValueObject.decoded, nullptr);

    const ASN1T_Extension* names = find(certificate, id_ce_subjectAltName);
    ASSERT_NE(names, nullptr);
    const auto* list = static_cast<ASN1T_GeneralNames*>(names->extnValueObject.decoded);
    EXPECT_EQ(list->count, 7U);
    const ASN1T_Extension* points = find(certificate, id_ce_cRLDistributionPoints);
    ASSERT_NE(points, nullptr);
    const auto* point = static_cast<ASN1T_DistributionPoint*>(
        static_cast<ASN1T_CRLDistPointsSyntax*>(points->extnValueObject.decoded)->pHead->data);
    EXPECT_TRUE(point->m.distributionPointPresent && point->m.reasonsPresent && point->m.cRLIssuerPresent);
    EXPECT_EQ(point->distributionPoint.t, static_cast<unsigned>(ASN1T_DistributionPointName::T_fullName));
}

TEST_F(Certificates, NameConstraintsOfTheStandardStayRaw) {
    ASN1T_Certificate certificate;
    ASSERT_EQ(decode(asn1D_Certificate, certificate, file("constraints.der")), 0);
    const ASN1T_Extension* constraints = find(certificate, keyOf("2.5.29.30"));
    ASSERT_NE(constraints, nullptr);
    EXPECT_GT(constraints->extnValue.numocts, 0U);
    EXPECT_EQ(constraints->extnValueObject.decoded, nullptr);
}

TEST_F(Certificates, TheSetsHoldTheirObjectsInOrder) {
    struct {
        const char* key;
        bool isMember;
    } const rows[] = {{"2.5.29.35", true},
                      {"2.5.29.30.1", true},
                      {"2.5.29.30", false},
                      {"1.2.643.2.2.47.5", true},
                      {"1.3.6.1.5.5.7.48.1.5", false},
                      {"1.3.6.1.5.5.7.48.1.2", false},
                      {"1.2.643.100.114", true},
                      {"2.5.29", false}};
    for (const auto& row : rows) {
        EXPECT_EQ(ExtensionSet::instance(nullptr)->lookupObject(keyOf(row.key)) != nullptr, row.isMember) << row.key;
    }
    const ocspNoCheck leftOut;
    EXPECT_TRUE(leftOut.id == id_pkix_ocsp_nocheck);
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

TEST_F(Certificates, GeneralNamesCarryTheTagsOfTheirAlternatives) {
    const Bytes directory = tlv::sequence({});
    struct {
        Bytes input;
        unsigned t;
    } const rows[] = {
        {tlv::context(0, concat({tlv::oid("1.2.3"), tlv::context(0, tlv::utf8String("x"))})), 1},
        {tlv::contextPrimitive(1, bytesOf("a@b")), 2},
        {tlv::contextPrimitive(2, bytesOf("example.org")), 3},
        {tlv::context(3, tlv::sequence({tlv::raw(0x61, tlv::printableString("DE"))})), 4},
        {tlv::context(4, directory), 5},
        {tlv::context(5, tlv::context(1, tlv::utf8String("x"))), 6},
        {tlv::contextPrimitive(6, bytesOf("http://example.org/")), 7},
        {tlv::contextPrimitive(7, fromHex("C0 00 02 01")), 8},
        {tlv::contextPrimitive(8, fromHex("2A 03")), 9},
    };
    for (const auto& row : rows) {
        ASN1T_GeneralName name;
        ASSERT_EQ(decode(asn1D_GeneralName, name, row.input), 0) << row.t;
        EXPECT_EQ(name.t, row.t);
        EXPECT_EQ(encoded(asn1E_GeneralName, name), row.input) << row.t;
    }
    ASN1T_GeneralName name;
    EXPECT_EQ(decode(asn1D_GeneralName, name, tlv::contextPrimitive(9, {})), STATUS_BAD_CHOICE);
}

TEST_F(Certificates, RevocationListsStayOneElement) {
    const Bytes input = tlv::sequence({tlv::integer(1), tlv::null()});
    ASN1T_CertificateList list = {};
    ASSERT_EQ(decode(asn1D_CertificateList, list, input), 0);
    EXPECT_EQ(Bytes(list.data, list.data + list.numocts), input);
    EXPECT_EQ(encoded(asn1E_CertificateList, list), input);
}

TEST_F(Certificates, AnAbsentTimeInARevocationListIsTold) {
    const Bytes algorithm = tlv::sequence({tlv::oid("1.2.840.113549.1.1.11"), tlv::null()});
    const Bytes entry = tlv::sequence({tlv::integer(7), tlv::utcTime("260101000000Z")});
    const Bytes input = tlv::sequence({tlv::integer(1), algorithm, tlv::sequence({}), tlv::utcTime("260101000000Z"),
                                       tlv::sequence({entry}),
                                       tlv::context(0, tlv::sequence({extension("2.5.29.20", tlv::integer(300))}))});
    ASN1T_TBSCertList list;
    ASSERT_EQ(decode(asn1D_TBSCertList, list, input), 0);
    EXPECT_FALSE(list.m.nextUpdatePresent);
    EXPECT_TRUE(list.m.versionPresent && list.m.revokedCertificatesPresent && list.m.crlExtensionsPresent);
    EXPECT_EQ(encoded(asn1E_TBSCertList, list), input);
}

TEST_F(Certificates, DamagedOnesAreSafe) {
    const Bytes whole = file("leaf.der");
    for (std::size_t i = 0; i < whole.size(); ++i) {
        Bytes damaged = whole;
        damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ (i % 3 == 0 ? 0x80 : i % 3 == 1 ? 0xFF : 0x01));
        ASN1T_Certificate certificate;
        if (decode(asn1D_Certificate, certificate, damaged) == 0) {
            encode(asn1E_Certificate, certificate);
        }
        rtFreeContext(&ctxt_);
        ASSERT_EQ(rtInitContext(&ctxt_, nullptr), 0);
        ASN1T_Certificate cut;
        EXPECT_LT(decode(asn1D_Certificate, cut, Bytes(whole.begin(), whole.begin() + static_cast<long>(i))), 0) << i;
    }
}

}  // namespace
