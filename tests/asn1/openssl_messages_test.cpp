// Attributes, signer information and statuses out of messages that OpenSSL wrote.
#include <openssl/cms.h>

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
#include "tests/support/openssl_ptr.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace {

using Orvane::CBlob;
using Orvane::CDateTime;
using namespace Orvane::ASN1;
using namespace testkit;

using CmsPtr = std::unique_ptr<CMS_ContentInfo, FreeWith<CMS_ContentInfo_free>>;
using Asn1TimePtr = std::unique_ptr<ASN1_TIME, FreeWith<ASN1_TIME_free>>;

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

/// A message that OpenSSL signs, with the attributes of CAdES and this time.
CmsPtr signedMessage(const char* time, const char* hash, unsigned int flags = 0) {
    const Identity& signer = Pki::shared().good;
    const BioPtr data(BIO_new_mem_buf("signed", -1));
    CmsPtr message(CMS_sign(nullptr, nullptr, nullptr, nullptr, CMS_PARTIAL | CMS_BINARY));
    CMS_SignerInfo* info = CMS_add1_signer(message.get(), parseCertificate(signer.certificate).get(), signer.key.get(),
                                           EVP_get_digestbyname(hash), CMS_CADES | CMS_NOSMIMECAP | flags);
    const Asn1TimePtr signingTime(ASN1_TIME_new());
    require(
        info != nullptr && ASN1_TIME_set_string(signingTime.get(), time) == 1 &&
            CMS_signed_add1_attr_by_NID(info, NID_pkcs9_signingTime, signingTime->type, signingTime.get(), -1) == 1 &&
            CMS_final(message.get(), data.get(), nullptr, CMS_BINARY) == 1,
        "signing");
    return message;
}

CBlob encoded(const CmsPtr& message) {
    return blob(toDer(message.get(), i2d_CMS_ContentInfo));
}

CBlob octetsIn(const void* string) {
    const auto* octets = static_cast<const ASN1_OCTET_STRING*>(string);
    return {octets->data, static_cast<unsigned long>(octets->length)};
}

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

TEST(OpensslMessages, ShowTheAttributesThatOpensslSigned) {
    const Pki& pki = Pki::shared();
    const struct {
        const char* time;
        const char* hash;
        const char* hashOid;
        const char* signatureOid;
        CDateTime expected;
    } rows[] = {
        {"20500101000000Z", "sha256", "2.16.840.1.101.3.4.2.1", "1.2.840.10045.4.3.2",
         CDateTime(2050, 1, 1, 0, 0, 0, 0, 0)},
        {"491231235930Z", "sha1", "1.3.14.3.2.26", "1.2.840.10045.4.1", CDateTime(2049, 12, 31, 23, 59, 30, 0, 0)},
        {"491231235930Z", "sha384", "2.16.840.1.101.3.4.2.2", "1.2.840.10045.4.3.3",
         CDateTime(2049, 12, 31, 23, 59, 30, 0, 0)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.hash);
        const CmsPtr made = signedMessage(row.time, row.hash);
        CMS_SignerInfo* const signer = sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(made.get()), 0);
        CContentInfo message;
        message.decode(encoded(made));
        EXPECT_STREQ(message.get_contentType(), "1.2.840.113549.1.7.2");
        EXPECT_EQ(message.encode(), encoded(made));
        const CBlob signerInfo = elementAt(message.get_content(), {4, 0});
        const CAttributes attributes = signedAttributes(signerInfo);
        EXPECT_EQ(typed(attributes, CAttrSigningTime(CDateTime(0, 0))).get_time(), row.expected);
        EXPECT_STREQ(typed(attributes, CAttrContentType()).get_contentType(), "1.2.840.113549.1.7.1");
        const auto* digest =
            CMS_signed_get0_data_by_OBJ(signer, OBJ_nid2obj(NID_pkcs9_messageDigest), -3, V_ASN1_OCTET_STRING);
        EXPECT_EQ(typed(attributes, CAttrMessageDigest()).get_messageDigest(), octetsIn(digest));
        // To SHA-1, OpenSSL still writes the first form.
        const CBlob serial = row.hash == std::string("sha1")
                                 ? signerSerial(typed(attributes, CAttrSigningCertificate()))
                                 : signerSerial(typed(attributes, CAttrSigningCertificateV2()), row.hashOid);
        EXPECT_EQ(serial, blob(pki.good.serial()));

        CSignerInfo info;
        info.decode(signerInfo);
        EXPECT_EQ(info.get_version(), 1U);
        EXPECT_EQ(info.get_issuer(), blob(pki.ca.subject()));
        EXPECT_EQ(static_cast<const CBlob&>(info.get_serialNumber()), blob(pki.good.serial()));
        EXPECT_STREQ(info.get_digestAlgorithm().get_algorithm(), row.hashOid);
        EXPECT_STREQ(info.get_signatureAlgorithm().get_algorithm(), row.signatureOid);
        EXPECT_EQ(info.get_signature(), octetsIn(CMS_SignerInfo_get0_signature(signer)));

        CCertificateValues values;
        values.emplace_back(blob(pki.ca.certificate));
        values.emplace_back();
        values.back().decode(elementAt(message.get_content(), {3, 0}));
        EXPECT_EQ(values.back().encode(), blob(pki.good.certificate));
        CCertificateValues again;
        again.decode(values.encode());
        EXPECT_TRUE(again == values);
    }
}

TEST(OpensslMessages, RefuseASignerWithoutIssuerAndSerialNumber) {
    CContentInfo message;
    message.decode(encoded(signedMessage("491231235930Z", "sha256", CMS_USE_KEYID)));
    CSignerInfo info;
    info.put_version(9);
    const CBlob signerInfo = elementAt(message.get_content(), {4, 0});
    EXPECT_THAT(thrownStatus([&] { info.decode(signerInfo); }), IsStatus(status::kAsn1Error));
    EXPECT_EQ(info.get_version(), 9U);
}

TEST(OpensslMessages, ShowTheStatusOfManagementReplies) {
    const TempDir folder;
    const std::string certificate = folder.write("signer.pem", Pki::shared().good.certificatePem());
    const std::string key = folder.write("signer.key", Pki::shared().good.key.pem());
    const auto reply = [&](std::initializer_list<std::string> more, std::initializer_list<unsigned> path) {
        std::vector<std::string> words = {"openssl",  "cmp",     "-use_mock_srv", "-config", "",
                                          "-srv_ref", "r",       "-srv_secret",   "pass:s",  "-ref",
                                          "r",        "-secret", "pass:s",        "-rspout", folder.file("reply")};
        words.insert(words.end(), more);
        const ProcessResult result = run(words, 30000);
        EXPECT_EQ(result.exitStatus, 1) << result.err;
        return elementAt(blob(readFile(folder.file("reply"))), path);
    };
    CPKIStatusInfo status(kStatusAccepted);
    // The first CertResponse of an ip; bits 0, 20 and 26.
    const CBlob rejected =
        reply({"-cmd", "ir", "-newkey", key, "-subject", "/CN=x", "-certout", folder.file("out"), "-rsp_cert",
               certificate, "-pkistatus", "2", "-failurebits", "68157441", "-statusstring", "\xD0\x9D\xD0\xB5\xD1\x82"},
              {1, 0, 0, 0, 1});
    status.decode(rejected);
    EXPECT_EQ(status.get_pkiStatus(), kStatusRejection);
    EXPECT_EQ(status.get_failureInfo().get_value(), 68157441U);
    EXPECT_STREQ(CPKIFreeTextString(status.get_statusString()).get_value(), L"\u041D\u0435\u0442");
    EXPECT_EQ(status.encode(), rejected);

    const CBlob error = reply({"-cmd", "rr", "-oldcert", certificate, "-send_error"}, {1, 0, 0});
    status.decode(error);
    EXPECT_EQ(status.get_failureInfo().get_value(), 4U) << "badRequest";
    EXPECT_STREQ(status.get_statusString().front().get_value(), L"error processing message");
    EXPECT_STREQ(status.get_statusString().front().get_language().c_str(), "*");
    EXPECT_EQ(status.encode(), error);
}

}  // namespace
