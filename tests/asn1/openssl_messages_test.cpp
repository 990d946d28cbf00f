// Attributes, signer information and statuses out of messages that the openssl command wrote.
#include <stdexcept>

#include "asn1/attributes/attribute.h"
#include "asn1/attributes/certificate_values.h"
#include "asn1/attributes/content_info.h"
#include "asn1/attributes/signer_info.h"
#include "asn1/attributes/signing_certificate.h"
#include "asn1/attributes/typed_attributes.h"
#include "asn1/codec/element.h"
#include "asn1/status/pki_status.h"
#include "tests/asn1/value_fixture.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace {

using Orvane::CBlob;
using Orvane::CDateTime;
using namespace Orvane::ASN1;
using namespace testkit;
using ::testing::HasSubstr;

constexpr const char* kSignedData = "1.2.840.113549.1.7.2";

/// The element at the end of the path, each step the index of a child.
CBlob elementAt(const CBlob& data, std::initializer_list<unsigned> path) {
    CElement element = firstElement(data.pbData(), data.cbData());
    for (const unsigned index : path) {
        CElementReader children(element);
        for (unsigned i = 0; i <= index; ++i) {
            element = children.next();
        }
    }
    return element.whole();
}

/// The octets of the first hex dump after `label` in printed text: "0000 - 58 91 b5-b5 22   X...", line by line.
std::string dumpAfter(const std::string& text, const std::string& label) {
    std::string result;
    std::size_t line = text.find(" 0000 - ", text.find(label));
    for (std::size_t end = 0; line < text.size(); line = end + 1) {
        end = text.find('\n', line);
        const std::size_t begin = text.find(" - ", line);
        if (begin >= end) {
            break;
        }
        for (std::size_t i = begin + 3; text.compare(i, 3, "   ") != 0; ++i) {
            if (text[i] != ' ' && text[i] != '-') {
                result += text[i];
            }
        }
    }
    return result;
}

class OpensslMessages : public ::testing::Test {
protected:
    const Pki& pki_ = Pki::shared();
    TempDir folder_;
    std::string data_ = folder_.write("data", "signed");
    std::string certificate_ = folder_.write("signer.pem", pki_.good.certificatePem());
    std::string key_ = folder_.write("signer.key", pki_.good.key.pem());

    /// Standard output and error of the command.
    static std::string runs(const std::vector<std::string>& arguments, int expectedStatus = 0,
                            const std::vector<std::string>& environment = {"TZ=UTC"}) {
        const ProcessResult result = run(arguments, 30000, environment);
        EXPECT_EQ(result.exitStatus, expectedStatus) << arguments[1] << ": " << result.err;
        return result.out + result.err;
    }

    CBlob fileBlob(const char* name) const { return blob(readFile(folder_.file(name))); }

    CBlob signedMessage(const std::string& time, const std::string& hash) const {
        runs({"openssl", "cms", "-sign", "-cades", "-md", hash, "-binary", "-nosmimecap", "-in", data_, "-signer",
              certificate_, "-inkey", key_, "-outform", "DER", "-out", folder_.file("message")},
             0, clockEnvironment("@" + time));
        return fileBlob("message");
    }

    std::string printed() const {
        return runs(
            {"openssl", "cms", "-cmsout", "-print", "-noout", "-inform", "DER", "-in", folder_.file("message")});
    }
};

/// The signed attributes of a SignerInfo, under the tag of their own type.
CAttributes signedAttributes(const CBlob& signerInfo) {
    CBlob set = elementAt(signerInfo, {3});
    set.pbData()[0] = 0x31;
    CAttributes attributes;
    attributes.decode(set);
    EXPECT_EQ(attributes.encode(), set) << "what was signed";
    return attributes;
}

template <class Typed>
Typed typed(const CAttributes& attributes, const Typed& sample) {
    const auto found = attributes.find(sample.get_oid());
    if (found == attributes.end() || found->size() != 1) {
        throw std::runtime_error(std::string("no single value of ") + sample.get_oid());
    }
    return Typed(found->begin()->get_value());
}

/// The serial number in the only reference of the attribute, which encodes to what it was.
template <class Attribute>
CBlob signerSerial(const Attribute& attribute) {
    EXPECT_EQ(attribute.get_certs().size(), 1U);
    EXPECT_EQ(Attribute(attribute.get_certs()).get_value(), attribute.get_value());
    return attribute.get_certs().front().get_issuerSerial()->get_serialNumber();
}

CBlob signerSerial(const CAttrSigningCertificateV2& attribute, const char* hashOid) {
    EXPECT_STREQ(attribute.get_certs().front().get_hashAlgorithm().get_algorithm(), hashOid);
    return signerSerial(attribute);
}

TEST_F(OpensslMessages, ShowTheSignedAttributesThatOpensslPrints) {
    const struct {
        const char* time;
        const char* hash;
        const char* hashOid;
        CDateTime expected;
        const char* printed;
    } rows[] = {
        {"2050-01-01 00:00:00", "sha256", "2.16.840.1.101.3.4.2.1", CDateTime(2050, 1, 1, 0, 0, 0, 0, 0),
         "GENERALIZEDTIME:Jan  1 00:00:"},
        {"2049-12-31 23:59:30", "sha1", "1.3.14.3.2.26", CDateTime(2049, 12, 31, 23, 59, 30, 0, 0),
         "UTCTIME:Dec 31 23:59:"},
        {"2049-12-31 23:59:30", "sha384", "2.16.840.1.101.3.4.2.2", CDateTime(2049, 12, 31, 23, 59, 30, 0, 0),
         "UTCTIME:Dec 31 23:59:"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.time);
        CContentInfo message;
        const CBlob der = signedMessage(row.time, row.hash);
        message.decode(der);
        EXPECT_STREQ(message.get_contentType(), kSignedData);
        EXPECT_EQ(message.encode(), der);
        std::string text = printed();
        text.erase(0, text.find("signerInfos:"));  // the certificate has a signature too
        const CBlob signerInfo = elementAt(message.get_content(), {4, 0});
        const CAttributes attributes = signedAttributes(signerInfo);

        EXPECT_THAT(text, HasSubstr(row.printed));
        const CDateTime time = typed(attributes, CAttrSigningTime(CDateTime(0, 0))).get_time();
        EXPECT_LT(time.getTime() - row.expected.getTime(), 30) << "the clock goes on";
        EXPECT_GE(time.getTime(), row.expected.getTime());
        EXPECT_THAT(text, HasSubstr(std::string("(") + typed(attributes, CAttrContentType()).get_contentType() + ")"));
        EXPECT_EQ(hexOf(typed(attributes, CAttrMessageDigest()).get_messageDigest()),
                  dumpAfter(text, "object: messageDigest"));

        // To SHA-1 the command still writes the first form.
        const CBlob serial = row.hash == std::string("sha1")
                                 ? signerSerial(typed(attributes, CAttrSigningCertificate()))
                                 : signerSerial(typed(attributes, CAttrSigningCertificateV2()), row.hashOid);
        EXPECT_EQ(serial, blob(pki_.good.serial()));

        CSignerInfo info;
        info.decode(signerInfo);
        EXPECT_EQ(info.get_version(), 1U);
        EXPECT_EQ(info.get_issuer(), blob(pki_.ca.subject()));
        EXPECT_EQ(static_cast<const CBlob&>(info.get_serialNumber()), blob(pki_.good.serial()));
        EXPECT_STREQ(info.get_digestAlgorithm().get_algorithm(), row.hashOid);
        EXPECT_THAT(text, HasSubstr(std::string("(") + info.get_signatureAlgorithm().get_algorithm() + ")"));
        EXPECT_EQ(hexOf(info.get_signature()), dumpAfter(text, "signature:"));
    }
}

TEST_F(OpensslMessages, RefuseASignerWithoutIssuerAndSerialNumber) {
    runs({"openssl", "cms", "-sign", "-keyid", "-in", data_, "-signer", certificate_, "-inkey", key_, "-outform", "DER",
          "-out", folder_.file("message")});
    CContentInfo message;
    message.decode(fileBlob("message"));
    CSignerInfo info;
    info.put_version(9);
    EXPECT_THAT(thrownStatus([&] {
                    info.decode(elementAt(message.get_content(), {4, 0}));
                }),
                IsStatus(status::kAsn1Error));
    EXPECT_EQ(info.get_version(), 9U);
}

class OpensslTimestamps : public OpensslMessages {
protected:
    /// The reply of a time-stamp authority that knows SHA-256 only, to a request with `hash`.
    CBlob answer(const std::string& hash) const {
        CertificateSpec spec;
        spec.extendedKeyUsage = "critical,timeStamping";
        const Identity tsa = issue(pki_.ca, spec);
        const std::string configuration = folder_.write(
            "ts.cnf",
            "[tsa]\ndefault_tsa = one\n[one]\nserial = " + folder_.write("serial", "01\n") +
                "\nsigner_cert = " + folder_.write("tsa.pem", tsa.certificatePem()) +
                "\nsigner_key = " + folder_.write("tsa.key", tsa.key.pem()) +
                "\nsigner_digest = sha256\ndefault_policy = 1.2.3.4\ndigests = sha256\ness_cert_id_alg = sha1\n");
        runs({"openssl", "ts", "-query", "-data", data_, "-" + hash, "-cert", "-out", folder_.file("query")});
        runs({"openssl", "ts", "-reply", "-queryfile", folder_.file("query"), "-config", configuration, "-out",
              folder_.file("reply")});
        return fileBlob("reply");
    }
};

TEST_F(OpensslTimestamps, CarryTheCertificateOfTheAuthority) {
    const CBlob reply = answer("sha256");
    CPKIStatusInfo status(kStatusRejection);
    status.decode(elementAt(reply, {0}));
    EXPECT_EQ(status.get_pkiStatus(), kStatusAccepted);
    EXPECT_EQ(status.get_failureInfo().get_value(), 0U);

    CContentInfo token;
    token.decode(elementAt(reply, {1}));
    CCertificateValue certificate;
    certificate.decode(elementAt(token.get_content(), {3, 0}));
    CCertificateValues values;
    values.push_back(certificate);
    values.emplace_back(blob(pki_.ca.certificate));
    CCertificateValues again;
    again.decode(values.encode());
    EXPECT_TRUE(again == values);
    EXPECT_EQ(again.front().encode(), elementAt(token.get_content(), {3, 0}));
}

TEST_F(OpensslTimestamps, ReportWhyTheyRefuse) {
    const CBlob encoded = elementAt(answer("sha512"), {0});
    CPKIStatusInfo status(kStatusAccepted);
    status.decode(encoded);
    EXPECT_EQ(status.get_pkiStatus(), kStatusRejection);
    EXPECT_EQ(status.get_failureInfo().get_value(), 1U) << "badAlg";
    ASSERT_EQ(status.get_statusString().size(), 1U);
    EXPECT_STREQ(status.get_statusString().front().get_value(), L"Message digest algorithm is not supported.");
    EXPECT_STREQ(status.get_statusString().front().get_language().c_str(), "*");
    EXPECT_EQ(status.encode(), encoded);
}

TEST_F(OpensslMessages, ShowTheStatusOfManagementReplies) {
    const std::vector<std::string> mock = {"openssl",  "cmp",     "-use_mock_srv", "-config", "",
                                           "-srv_ref", "r",       "-srv_secret",   "pass:s",  "-ref",
                                           "r",        "-secret", "pass:s",        "-rspout", folder_.file("reply")};
    const auto reply = [&](std::initializer_list<std::string> more, std::initializer_list<unsigned> path) {
        std::vector<std::string> arguments = mock;
        arguments.insert(arguments.end(), more);
        runs(arguments, 1);
        return elementAt(fileBlob("reply"), path);
    };
    CPKIStatusInfo status(kStatusAccepted);
    // The first CertResponse of an ip; bits 0, 20 and 26.
    const CBlob rejected = reply(
        {"-cmd", "ir", "-newkey", key_, "-subject", "/CN=x", "-certout", folder_.file("out"), "-rsp_cert", certificate_,
         "-pkistatus", "2", "-failurebits", "68157441", "-statusstring", "\xD0\x9D\xD0\xB5\xD1\x82"},
        {1, 0, 0, 0, 1});
    status.decode(rejected);
    EXPECT_EQ(status.get_pkiStatus(), kStatusRejection);
    EXPECT_EQ(status.get_failureInfo().get_value(), 68157441U);
    EXPECT_STREQ(CPKIFreeTextString(status.get_statusString()).get_value(), L"\u041D\u0435\u0442");
    EXPECT_EQ(status.encode(), rejected);

    const CBlob error = reply({"-cmd", "rr", "-oldcert", certificate_, "-send_error"}, {1, 0, 0});
    status.decode(error);
    EXPECT_EQ(status.get_failureInfo().get_value(), 4U) << "badRequest";
    EXPECT_STREQ(status.get_statusString().front().get_value(), L"error processing message");
    EXPECT_EQ(status.encode(), error);
}

}  // namespace
