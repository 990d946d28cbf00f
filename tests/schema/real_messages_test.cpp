// Messages made by another program. Each is decoded by its type and encoded to the same octets.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "schema/generated/cmp.h"
#include "schema/generated/cms.h"
#include "schema/generated/extensions.h"
#include "tests/schema/catalogue.h"
#include "tests/schema/codec_fixture.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;

constexpr const char* kSignedData = "1.2.840.113549.1.7.2";
constexpr const char* kTstInfo = "1.2.840.113549.1.9.16.1.4";
constexpr const char* kPbkdf2 = "1.2.840.113549.1.5.12";
constexpr const char* kPbes2 = "1.2.840.113549.1.5.13";

/// Returns the element that starts at `at`. Definite lengths only.
Bytes elementAt(const Bytes& der, std::size_t at) {
    std::size_t sizeHeader = 2;
    std::size_t length = der.at(at + 1);
    if (length >= 0x80) {
        sizeHeader += length & 0x7F;
        length = 0;
        for (std::size_t i = 2; i < sizeHeader; ++i) {
            length = length << 8 | der.at(at + i);
        }
    }
    const auto begin = der.begin() + static_cast<std::ptrdiff_t>(at);
    return {begin, begin + static_cast<std::ptrdiff_t>(sizeHeader + length)};
}

/// Returns the first element in the contents of `der`.
Bytes firstInside(const Bytes& der) {
    return elementAt(der, der.at(1) >= 0x80 ? 2 + (der[1] & 0x7F) : 2);
}

/// Returns the element after the first occurrence of the object identifier: parameters, a value, or an attribute's SET.
Bytes elementAfter(const Bytes& der, const char* identifier) {
    const Bytes oid = tlv::oid(identifier);
    const auto found = std::search(der.begin(), der.end(), oid.begin(), oid.end());
    EXPECT_NE(found, der.end()) << identifier;
    return found == der.end() ? Bytes() : elementAt(der, static_cast<std::size_t>(found - der.begin()) + oid.size());
}

class SchemaModules : public schematest::CodecTest {
protected:
    void SetUp() override {
        CodecTest::SetUp();
        CertificateSpec spec;
        spec.key = Key::make(KeyKind::kRsa2048);
        addIdentity("rsa", issue(Pki::shared().ca, spec));
        addIdentity("ec", Pki::shared().good);
        addIdentity("ca", Pki::shared().ca);
        dir_.write("data", "what is sent");
    }

    /// Decodes the octets by the named type and expects the same octets when they are encoded again.
    void expectRoundTrip(const std::string& typeName, const Bytes& der) {
        SCOPED_TRACE(typeName + " " + toHex(der).substr(0, 100));
        const schematest::TypeRow* type = findType(schematest::catalogue().types, typeName);
        ASSERT_NE(type, nullptr);
        EXPECT_EQ(again(*type, der), "same");
        EXPECT_TRUE(isHeapEmpty());
    }

    void addIdentity(const std::string& name, const Identity& identity) const {
        dir_.write(name + ".pem", identity.certificatePem());
        dir_.write(name + ".key", identity.key.pem());
    }

    /// Runs openssl with arguments separated by blanks; "@" is the test's directory. Returns the contents of the file
    /// "out".
    [[nodiscard]] Bytes openssl(const std::string& words) const {
        std::vector<std::string> arguments = {"openssl"};
        std::istringstream stream(words);
        for (std::string word; stream >> word;) {
            for (std::size_t at = word.find('@'); at != std::string::npos; at = word.find('@')) {
                word.replace(at, 1, dir_.file(""));
            }
            arguments.push_back(word);
        }
        const ProcessResult result = testkit::run(arguments);
        const bool isWritten = std::filesystem::exists(dir_.file("out"));
        EXPECT_TRUE(isWritten) << words << '\n' << result.err;
        return isWritten ? readFile(dir_.file("out")) : Bytes();
    }

    [[nodiscard]] Bytes cms(const std::string& words) const {
        return openssl("cms -in @data -binary -outform DER -out @out " + words);
    }

    TempDir dir_;
};

TEST_F(SchemaModules, StoredFilesRoundTrip) {
    for (const char* name : {"root.der", "leaf.der", "ec.der", "ed25519.der", "constraints.der"}) {
        expectRoundTrip("Certificate", file(name));
    }
    for (const char* name : {"request.der", "request-signed.der"}) {
        expectRoundTrip("OCSPRequest", file(name));
    }
    for (const char* name : {"response-good.der", "response-revoked.der", "response-unknown.der", "response-many.der",
                             "response-refused.der"}) {
        expectRoundTrip("OCSPResponse", file(name));
    }
}

TEST_F(SchemaModules, CryptographicMessagesRoundTrip) {
    const std::string key = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";
    const struct {
        const char* name;
        std::string words;
        bool isKnown = true;
    } rows[] = {
        {"data", "-data_create"},
        {"signed", "-sign -nodetach -signer @ec.pem -inkey @ec.key -certfile @ca.pem"},
        {"signed, content apart", "-sign -signer @rsa.pem -inkey @rsa.key -md sha512"},
        {"signed by two, by key identifier",
         "-sign -nodetach -keyid -signer @ec.pem -inkey @ec.key -signer @rsa.pem "
         "-inkey @rsa.key"},
        {"signed with PSS", "-sign -nodetach -signer @rsa.pem -inkey @rsa.key -keyopt rsa_padding_mode:pss"},
        {"signed without attributes and certificates",
         "-sign -nodetach -noattr -nocerts -signer @ec.pem -inkey @ec.key"},
        {"signed with CAdES attributes", "-sign -nodetach -cades -signer @ec.pem -inkey @ec.key"},
        {"signed, receipt asked for",
         "-sign -nodetach -signer @ec.pem -inkey @ec.key -receipt_request_all "
         "-receipt_request_to a@b.test"},
        {"digested", "-digest_create -md sha256"},
        {"encrypted", "-EncryptedData_encrypt -aes256 -secretkey " + key},
        {"enveloped, key transport", "-encrypt -aes128 @rsa.pem"},
        {"enveloped, key transport with OAEP",
         "-encrypt -aes128 -recip @rsa.pem -keyopt rsa_padding_mode:oaep "
         "-keyopt rsa_oaep_md:sha256"},
        {"enveloped, key agreement", "-encrypt -aes128 -keyid -recip @ec.pem"},
        {"enveloped, key encryption key", "-encrypt -aes128 -secretkeyid 0102 -secretkey " + key},
        {"enveloped, password", "-encrypt -aes256 -pwri_password secret"},
        {"enveloped, several ways", "-encrypt -des3 -pwri_password secret -recip @rsa.pem -recip @ec.pem"},
        {"encrypted and authenticated", "-encrypt -aes-128-gcm -recip @rsa.pem", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes der = cms(row.words);
        expectRoundTrip("ContentInfo", der);
        expectRoundTrip("ContentInfoLegacy", der);
        asn1data::ASN1T_ContentInfo message;
        ASSERT_EQ(decode(asn1data::asn1D_ContentInfo, message, der), 0);
        EXPECT_EQ(message.contentObject.decoded != nullptr, row.isKnown);
    }
}

TEST_F(SchemaModules, SignedDataInsideSignedDataIsDecoded) {
    const Bytes der = cms("-sign -nodetach -signer @ec.pem -inkey @ec.key");
    dir_.write("data", firstInside(elementAfter(der, kSignedData)));
    const Bytes outer = cms("-sign -nodetach -econtent_type 1.2.840.113549.1.7.2 -signer @rsa.pem -inkey @rsa.key");
    expectRoundTrip("ContentInfo", outer);
    asn1data::ASN1T_ContentInfo message;
    ASSERT_EQ(decode(asn1data::asn1D_ContentInfo, message, outer), 0);
    ASSERT_NE(message.contentObject.decoded, nullptr);
    const auto& content = *static_cast<asn1data::ASN1T_SignedData*>(message.contentObject.decoded);
    EXPECT_NE(content.encapContentInfo.eContentObject.decoded, nullptr);
}

TEST_F(SchemaModules, ParametersAndAttributesInMessagesRoundTrip) {
    const Bytes cades = cms("-sign -nodetach -cades -signer @rsa.pem -inkey @rsa.key -keyopt rsa_padding_mode:pss");
    expectRoundTrip("SigningCertificateV2", firstInside(elementAfter(cades, "1.2.840.113549.1.9.16.2.47")));
    expectRoundTrip("SMIMECapabilities", firstInside(elementAfter(cades, "1.2.840.113549.1.9.15")));
    expectRoundTrip("SigningTime", firstInside(elementAfter(cades, "1.2.840.113549.1.9.5")));
    expectRoundTrip("RSASSA_PSS_params", elementAfter(cades, "1.2.840.113549.1.1.10"));
    const Bytes oaep = cms("-encrypt -aes128 -recip @rsa.pem -keyopt rsa_padding_mode:oaep -keyopt rsa_oaep_md:sha256");
    expectRoundTrip("RSAES_OAEP_params", elementAfter(oaep, "1.2.840.113549.1.1.7"));
    expectRoundTrip("AES_IV", elementAfter(oaep, "2.16.840.1.101.3.4.1.2"));
    expectRoundTrip("PBKDF2_params", elementAfter(cms("-encrypt -aes256 -pwri_password secret"), kPbkdf2));
    const Bytes key = openssl(
        "pkcs8 -topk8 -in @ec.key -v2 aes-256-cbc -v2prf hmacWithSHA512 -passout pass:secret "
        "-outform DER -out @out");
    expectRoundTrip("PBES2_params", elementAfter(key, kPbes2));
    expectRoundTrip("PBKDF2_params", elementAfter(key, kPbkdf2));
    expectRoundTrip("RsaPubKey", openssl("rsa -in @rsa.key -RSAPublicKey_out -outform DER -out @out"));
    expectRoundTrip("Dss_Sig_Value", openssl("dgst -sha256 -sign @ec.key -out @out @data"));
    const Bytes dh = openssl("genpkey -algorithm DHX -pkeyopt dh_rfc5114:1 -outform DER -out @out");
    expectRoundTrip("DomainParameters", elementAfter(dh, "1.2.840.10046.2.1"));
    dir_.write("signature", openssl("dgst -sha256 -sign @rsa.key -out @out @data"));
    expectRoundTrip("DigestInfo", openssl("pkeyutl -verifyrecover -in @signature -inkey @rsa.key -out @out"));
}

TEST_F(SchemaModules, CertificationRequestsAndRevocationListsRoundTrip) {
    dir_.write("req.cnf",
               "[req]\ndistinguished_name=dn\nattributes=attrs\nreq_extensions=ext\nprompt=no\n"
               "[dn]\nC=AQ\nO=Test\nCN=device\nemailAddress=a@b.test\n"
               "[attrs]\nchallengePassword=secret\nunstructuredName=device 7\n"
               "[ext]\nsubjectAltName=DNS:device.test,IP:127.0.0.1\nkeyUsage=digitalSignature\n");
    expectRoundTrip("CertificationRequest", openssl("req -new -key @ec.key -config @req.cnf -outform DER -out @out"));
    expectRoundTrip("CertificationRequest", openssl("req -new -key @rsa.key -subj /CN=a -config @req.cnf -outform DER "
                                                    "-reqexts ext -sigopt rsa_padding_mode:pss -out @out"));
    const Identity& ca = Pki::shared().ca;
    for (const CrlSpec& spec :
         {CrlSpec{}, CrlSpec{.revokedSerials = {{0x01}, {0x00, 0xC0}}, .reason = 1},
          CrlSpec{.nextUpdateSeconds = std::nullopt, .criticalExtensions = {{"2.5.29.27", tlv::integer(7)}}}}) {
        expectRoundTrip("CertificateListLegacy", makeCrl(ca, spec));
        expectRoundTrip("CertificateList", makeCrl(ca, spec));
    }
}

TEST_F(SchemaModules, TimeStampsRoundTrip) {
    CertificateSpec spec;
    spec.keyUsage = "critical,digitalSignature";
    spec.extendedKeyUsage = "critical,timeStamping";
    addIdentity("tsa", issue(Pki::shared().ca, spec));
    dir_.write("ts.cnf", "[tsa]\ndefault_tsa=t\n[t]\nserial=" + dir_.file("serial") +
                             "\ndefault_policy=1.2.3.4\ndigests=sha256\nsigner_digest=sha256\n"
                             "accuracy=secs:1,millisecs:500,microsecs:100\nordering=yes\ntsa_name=yes\n"
                             "ess_cert_id_chain=yes\n");
    for (const char* words : {"-tspolicy 1.2.3.4 -cert", "-no_nonce", "-tspolicy 1.2.3.9"}) {
        SCOPED_TRACE(words);
        const bool isGranted = std::string(words).find(".9") == std::string::npos;
        const Bytes request = openssl(std::string("ts -query -data @data -sha256 -out @out ") + words);
        expectRoundTrip("TimeStampReq", request);
        dir_.write("query", request);
        const Bytes reply = openssl(
            "ts -reply -config @ts.cnf -queryfile @query -signer @tsa.pem -inkey @tsa.key "
            "-out @out");
        expectRoundTrip("TimeStampResp", reply);
        expectRoundTrip("TimeStampRespRaw", reply);
        if (isGranted) {
            dir_.write("reply", reply);
            expectRoundTrip("TimeStampToken", openssl("ts -reply -in @reply -token_out -out @out"));
            const Bytes info = firstInside(firstInside(elementAfter(reply, kTstInfo)));
            expectRoundTrip("TSTInfo", info);
            expectRoundTrip("TSTInfoRaw", info);
        }
    }
}

/// Certificate management messages between openssl and its mock server.
class CmpModule : public SchemaModules {
protected:
    using Messages = std::vector<Bytes>;

    /// Returns requests and responses alternately.
    [[nodiscard]] Messages exchange(const std::string& words) const {
        for (const char* name : {"q1", "q2", "q3", "q4", "r1", "r2", "r3", "r4"}) {
            std::filesystem::remove(dir_.file(name));
        }
        dir_.write("out", "");  // the messages are in other files
        static_cast<void>(
            openssl("cmp -config @empty -use_mock_srv -ref 1 -secret pass:x -srv_ref 1 -srv_secret "
                    "pass:x -rsp_cert @ec.pem -newkey @ec.key -subject /CN=client -certout @cert "
                    "-oldcert @ec.pem -reqout @q1,@q2,@q3,@q4 -rspout @r1,@r2,@r3,@r4 " +
                    words));
        Messages messages;
        for (const char* name : {"q1", "r1", "q2", "r2", "q3", "r3", "q4", "r4"}) {
            if (std::filesystem::exists(dir_.file(name))) {
                messages.push_back(readFile(dir_.file(name)));
            }
        }
        return messages;
    }
};

TEST_F(CmpModule, MessagesRoundTrip) {
    dir_.write("empty", "");
    (void)openssl("req -new -key @ec.key -subj /CN=client -out @out");
    std::filesystem::rename(dir_.file("out"), dir_.file("csr"));
    using Body = asn1data::ASN1T_PKIBody;
    const struct {
        std::string words;
        std::vector<std::uint32_t> bodies;
    } rows[] = {
        {"-cmd ir -rsp_capubs @ca.pem -rsp_extracerts @ca.pem -sans localhost,127.0.0.1 -days 5",
         {Body::T_ir, Body::T_ip, Body::T_certConf, Body::T_pkiconf}},
        {"-cmd ir -popo -1 -geninfo 1.2.3:int:7", {Body::T_ir, Body::T_ip}},
        {"-cmd ir -pkistatus 2 -failure 3 -statusstring no", {Body::T_ir, Body::T_ip}},
        {"-cmd ir -send_error", {Body::T_ir, Body::T_error}},
        {"-cmd ir -poll_count 2 -check_after 0",
         {Body::T_ir, Body::T_ip, Body::T_pollReq, Body::T_pollRep, Body::T_pollReq, Body::T_ip, Body::T_certConf,
          Body::T_pkiconf}},
        {"-cmd cr -implicit_confirm -grant_implicitconf", {Body::T_cr, Body::T_cp}},
        {"-cmd kur -cert @ec.pem -key @ec.key", {Body::T_kur, Body::T_kup, Body::T_certConf, Body::T_pkiconf}},
        {"-cmd p10cr -csr @csr", {Body::T_p10cr, Body::T_cp, Body::T_certConf, Body::T_pkiconf}},
        {"-cmd rr -revreason 1", {Body::T_rr, Body::T_rp}},
        {"-cmd genm -infotype signKeyPairTypes", {Body::T_genm, Body::T_genp}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        std::vector<std::uint32_t> bodies;
        for (const Bytes& der : exchange(row.words)) {
            expectRoundTrip("PKIMessage", der);
            asn1data::ASN1T_PKIMessage message;
            ASSERT_EQ(decode(asn1data::asn1D_PKIMessage, message, der), 0);
            bodies.push_back(message.body.t);
        }
        EXPECT_EQ(bodies, row.bodies);
    }
}

TEST_F(CmpModule, AnExtensionMayContainAMessage) {
    dir_.write("empty", "");
    const Bytes message = exchange("-cmd rr -revreason 1").at(0);
    for (const char* key : {"1.2.643.2.2.47.3", "1.2.643.2.2.47.4"}) {
        const Bytes der = tlv::sequence({tlv::oid(key), tlv::octetString(message)});
        expectRoundTrip("Extension", der);
        asn1data::ASN1T_Extension extension;
        ASSERT_EQ(decode(asn1data::asn1D_Extension, extension, der), 0);
        EXPECT_NE(extension.extnValueObject.decoded, nullptr);
    }
}

}  // namespace
