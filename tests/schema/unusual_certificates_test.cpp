// Certificates as few make them and all may: a certificate that comes with an answer must not cost the whole answer.
// Each row changes one part of a plain certificate.
#include <gtest/gtest.h>

#include <string>

#include "schema/generated/certificates.h"
#include "schema/generated/ocsp.h"
#include "tests/schema/codec_fixture.h"
#include "tests/support/tlv.h"

namespace {

using namespace asn1data;
using namespace testkit;

constexpr std::uint8_t kTeletexString = 0x14;
constexpr std::uint8_t kVisibleString = 0x1A;
constexpr std::uint8_t kUniversalString = 0x1C;
constexpr std::uint8_t kBmpString = 0x1E;

const Bytes kRsaSha256 = tlv::sequence({tlv::oid("1.2.840.113549.1.1.11"), tlv::null()});
const Bytes kKey(64, 4);

Bytes algorithm(const char* oid, const Bytes& parameters = {}) {
    return tlv::sequence({tlv::oid(oid), parameters});
}

Bytes attribute(const char* type, const Bytes& value) {
    return tlv::sequence({tlv::oid(type), value});
}

Bytes name(const Bytes& value) {
    return tlv::sequence({tlv::set({attribute("2.5.4.3", value)})});
}

Bytes repeated(const char* character, unsigned count) {
    Bytes text;
    for (unsigned i = 0; i < count; ++i) {
        const Bytes one = fromHex(character);
        text.insert(text.end(), one.begin(), one.end());
    }
    return text;
}

struct Parts {
    Bytes version = tlv::context(0, tlv::integer(2));
    Bytes serial = tlv::integer(17);
    Bytes signature = kRsaSha256;
    Bytes issuer = name(tlv::utf8String("issuer"));
    Bytes validity = tlv::sequence({tlv::utcTime("240101000000Z"), tlv::utcTime("340101000000Z")});
    Bytes subject = name(tlv::utf8String("subject"));
    Bytes keyAlgorithm = algorithm("1.2.840.113549.1.1.1", tlv::null());
    Bytes uniqueIdentifiers = {};
    Bytes extension = {};  // one, or none at all

    [[nodiscard]] Bytes encode() const {
        const Bytes extensions = extension.empty() ? Bytes() : tlv::context(3, tlv::sequence({extension}));
        const Bytes key = tlv::sequence({keyAlgorithm, tlv::bitString(kKey)});
        return tlv::sequence(
            {tlv::sequence({version, serial, signature, issuer, validity, subject, key, uniqueIdentifiers, extensions}),
             signature, tlv::bitString(Bytes(64, 0xAA))});
    }
};

Parts withExtension(const char* oid, const Bytes& value) {
    Parts parts;
    parts.extension = tlv::sequence({tlv::oid(oid), tlv::octetString(value)});
    return parts;
}

Parts withSubject(const Bytes& subject) {
    Parts parts;
    parts.subject = subject;
    return parts;
}

Parts withPart(Bytes Parts::*part, const Bytes& value) {
    Parts parts;
    parts.*part = value;
    return parts;
}

Parts withKey(const char* oid, const Bytes& parameters = {}) {
    return withPart(&Parts::keyAlgorithm, algorithm(oid, parameters));
}

Bytes policy(const Bytes& qualifier) {
    return tlv::sequence({tlv::sequence({tlv::oid("1.2.3"), tlv::sequence({qualifier})})});
}

Bytes notice(const Bytes& contents) {
    return policy(tlv::sequence({tlv::oid("1.3.6.1.5.5.7.2.2"), tlv::sequence({contents})}));
}

class UnusualCertificates : public schematest::CodecTest {
protected:
    /// As the only certificate that comes with an answer: "same" when that comes out again as it was, otherwise what
    /// came of it.
    std::string carried(const Bytes& certificate) {
        const Bytes time = tlv::generalizedTime("20260102030405Z");
        const Bytes data = tlv::sequence({tlv::context(2, tlv::octetString({3})), time, tlv::sequence({})});
        const Bytes answer =
            tlv::sequence({data, kRsaSha256, tlv::bitString({1}), tlv::context(0, tlv::sequence({certificate}))});
        const std::string before = schematest::spell(answer.data(), answer.size());
        const std::string after = again(asn1D_BasicOCSPResponse, asn1E_BasicOCSPResponse, before);
        return after == before ? "same" : after;
    }
};

TEST_F(UnusualCertificates, ThatAreLegalComeOutAsTheyWere) {
    const Bytes directory = tlv::context(4, name(tlv::utf8String("x")));
    const Bytes uri = tlv::contextPrimitive(6, bytesOf("http://x/"));
    const Bytes hash = tlv::context(0, algorithm("2.16.840.1.101.3.4.2.1", tlv::null()));
    struct {
        const char* name;
        Parts parts;
    } const rows[] = {
        {"version 1, left out", withPart(&Parts::version, {})},
        {"version 1, written", withPart(&Parts::version, tlv::context(0, tlv::integer(0)))},
        {"unique identifiers",
         withPart(&Parts::uniqueIdentifiers,
                  concat({tlv::contextPrimitive(1, fromHex("00 AA")), tlv::contextPrimitive(2, fromHex("03 A8"))}))},
        {"serial number of 64 octets", withPart(&Parts::serial, tlv::integer(Bytes(64, 0x11)))},
        {"serial number with a protected top bit", withPart(&Parts::serial, tlv::integer(fromHex("00 FF FF")))},
        {"serial number 0", withPart(&Parts::serial, tlv::integer(0))},
        {"negative serial number", withPart(&Parts::serial, tlv::integer(-129))},
        {"validity in GeneralizedTime",
         withPart(&Parts::validity,
                  tlv::sequence({tlv::generalizedTime("20500101000000Z"), tlv::generalizedTime("99991231235959Z")}))},
        {"no subject", withSubject(tlv::sequence({}))},
        {"several attributes in one set",
         withSubject(tlv::sequence({tlv::set(
             {attribute("2.5.4.3", tlv::utf8String("a")), attribute("2.5.4.5", tlv::printableString("1"))})}))},
        {"BMPString", withSubject(name(tlv::raw(kBmpString, fromHex("00 DC 04 16"))))},
        {"UniversalString", withSubject(name(tlv::raw(kUniversalString, fromHex("00 00 00 DC"))))},
        {"TeletexString with octets above 127", withSubject(name(tlv::raw(kTeletexString, fromHex("4D FC"))))},
        {"UTF8String of 32768 characters in 65536 octets", withSubject(name(tlv::raw(0x0C, repeated("D0 96", 32768))))},
        {"country, qualifier and addresses in UTF8String",
         withSubject(tlv::sequence({tlv::set({attribute("2.5.4.6", tlv::utf8String("Aq"))}),
                                    tlv::set({attribute("2.5.4.46", tlv::utf8String("q"))}),
                                    tlv::set({attribute("1.2.840.113549.1.9.1", tlv::utf8String("a@b"))}),
                                    tlv::set({attribute("0.9.2342.19200300.100.1.25", tlv::utf8String("b"))})}))},
        {"long postal address, postal code and unstructured name",
         withSubject(
             tlv::sequence({tlv::set({attribute("2.5.4.16", tlv::sequence({tlv::utf8String(std::string(100, 'x'))}))}),
                            tlv::set({attribute("2.5.4.17", tlv::utf8String(std::string(100, 'x')))}),
                            tlv::set({attribute("1.2.840.113549.1.9.2", tlv::utf8String(std::string(300, 'x')))})}))},
        {"attributes that are not known",
         withSubject(tlv::sequence({tlv::set({attribute("2.5.4.97", tlv::utf8String("VATDE-1"))}),
                                    tlv::set({attribute("2.5.4.45", tlv::bitString({1}))})}))},
        {"signature algorithm that is not known",
         withPart(&Parts::signature, algorithm("1.2.3.4", tlv::sequence({tlv::integer(1)})))},
        {"RSASSA-PSS with parameters",
         withPart(&Parts::signature,
                  algorithm("1.2.840.113549.1.1.10", tlv::sequence({hash, tlv::context(2, tlv::integer(32))})))},
        {"SHA-1 with RSA without parameters", withPart(&Parts::signature, algorithm("1.2.840.113549.1.1.5"))},
        {"RSA key without parameters", withKey("1.2.840.113549.1.1.1")},
        {"EC key on a named curve", withKey("1.2.840.10045.2.1", tlv::oid("1.2.840.10045.3.1.7"))},
        {"EC key with its curve", withKey("1.2.840.10045.2.1", tlv::sequence({tlv::integer(1)}))},
        {"Ed25519 key", withKey("1.3.101.112")},
        {"DSA key with inherited parameters", withKey("1.2.840.10040.4.1")},
        {"GOST key with the curve alone",
         withKey("1.2.643.7.1.1.1.2", tlv::sequence({tlv::oid("1.2.643.7.1.2.1.2.1")}))},
        {"GOST key with its digest",
         withKey("1.2.643.7.1.1.1.1", tlv::sequence({tlv::oid("1.2.643.2.2.36.0"), tlv::oid("1.2.643.7.1.1.2.2")}))},
        {"name constraints",
         withExtension("2.5.29.30",
                       tlv::sequence({tlv::context(0, tlv::sequence({tlv::contextPrimitive(2, bytesOf("x"))}))}))},
        {"policy with the address of its statement",
         withExtension("2.5.29.32", policy(tlv::sequence({tlv::oid("1.3.6.1.5.5.7.2.1"), tlv::ia5String("http:")})))},
        {"policy with a notice and a reference",
         withExtension(
             "2.5.29.32",
             notice(concat({tlv::sequence({tlv::utf8String("Org"), tlv::sequence({tlv::integer(1), tlv::integer(2)})}),
                            tlv::raw(kVisibleString, bytesOf("see"))})))},
        {"policy with an empty notice", withExtension("2.5.29.32", notice({}))},
        {"policy with a notice of 2000 characters",
         withExtension("2.5.29.32", notice(tlv::raw(0x0C, repeated("D0 96", 2000))))},
        {"policy with a qualifier that is not known",
         withExtension("2.5.29.32", policy(tlv::sequence({tlv::oid("1.2.3.4"), tlv::null()})))},
        {"issuer's address as a directory name",
         withExtension("1.3.6.1.5.5.7.1.1", tlv::sequence({tlv::sequence({tlv::oid("1.3.6.1.5.5.7.48.2"), directory}),
                                                           tlv::sequence({tlv::oid("1.3.6.1.5.5.7.48.1"), uri})}))},
        {"names of all kinds",
         withExtension(
             "2.5.29.17",
             tlv::sequence({tlv::context(0, concat({tlv::oid("1.2.3"), tlv::context(0, tlv::null())})),
                            tlv::contextPrimitive(1, bytesOf("a@b")), tlv::contextPrimitive(2, {0xFC}),
                            tlv::context(3, tlv::sequence({tlv::raw(0x61, tlv::printableString("DE")),
                                                           tlv::contextPrimitive(3, bytesOf("org"))})),
                            directory, tlv::context(5, tlv::context(1, tlv::utf8String("party"))), uri,
                            tlv::contextPrimitive(7, Bytes(16, 0)), tlv::contextPrimitive(8, fromHex("2A 03"))}))},
        {"distribution points of all kinds",
         withExtension(
             "2.5.29.31",
             tlv::sequence({tlv::sequence({tlv::context(0, tlv::context(0, uri))}),
                            tlv::sequence({tlv::context(0, tlv::context(1, attribute("2.5.4.3", tlv::utf8String("r")))),
                                           tlv::contextPrimitive(1, fromHex("01 FE")), tlv::context(2, directory)})}))},
        {"key usage with trailing zero bits", withExtension("2.5.29.15", tlv::bitString(fromHex("80 00")))},
        {"authority key by issuer and number",
         withExtension("2.5.29.35", tlv::sequence({tlv::context(1, directory), tlv::contextPrimitive(2, {17})}))},
        {"directory attributes",
         withExtension(
             "2.5.29.9",
             tlv::sequence({tlv::sequence({tlv::oid("2.5.4.12"), tlv::set({tlv::utf8String("Dr.")})}),
                            tlv::sequence({tlv::oid("1.3.6.1.5.5.7.9.4"), tlv::set({tlv::printableString("DE")})})}))},
        {"path length without being a CA", withExtension("2.5.29.19", tlv::sequence({tlv::integer(5)}))},
        {"long extension that is not known", withExtension("1.3.6.1.4.1.11129.2.4.2", Bytes(129, 0xFF))},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(carried(row.parts.encode()), "same") << row.name;
    }
}

TEST_F(UnusualCertificates, ThatBreakABoundAreRefused) {
    struct {
        const char* name;
        Parts parts;
        int status;
    } const rows[] = {
        {"common name of 32769 characters", withSubject(name(tlv::raw(0x0C, repeated("D0 96", 32769)))),
         STATUS_CONSTRAINT},
        {"notice without a character", withExtension("2.5.29.32", notice(tlv::utf8String(""))), STATUS_CONSTRAINT},
        {"no policy", withExtension("2.5.29.32", tlv::sequence({})), STATUS_CONSTRAINT},
        {"path length beyond 32 bits",
         withExtension("2.5.29.19", tlv::sequence({tlv::integer(fromHex("01 00 00 00 00"))})), STATUS_TOO_BIG},
        {"NULL in place of DSA parameters", withKey("1.2.840.10040.4.1", tlv::null()), STATUS_TAG_MISMATCH},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(carried(row.parts.encode()), "decode " + std::to_string(row.status)) << row.name;
    }
    EXPECT_EQ(carried(withPart(&Parts::uniqueIdentifiers, tlv::context(3, tlv::sequence({}))).encode()),
              "decode " + std::to_string(STATUS_CONSTRAINT))
        << "extensions, and none of them";
}

}  // namespace
