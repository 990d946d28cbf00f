// `show` on messages made by openssl, on built ones, and on hostile ones.
#include "tests/cli/command.h"
#include "tests/support/tlv.h"
#include "tests/support/vectors.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::Pair;
using Show = CommandTest;

using Fields = std::map<std::string, std::string>;
using Rows = std::vector<std::pair<const std::string, std::string>>;

// The value of a path in quotes, or "absent".
auto valuesIn(const Fields& fields) {
    return [&fields](const std::string& path) {
        const auto found = fields.find(path);
        return found == fields.end() ? "absent" : '"' + found->second + '"';
    };
}

Fields shown(const std::string& file) {
    const ProcessResult run = Command::plain({"show", "--json", file});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const TempDir folder;
    const ProcessResult valid = validateJson({folder.write("shown.json", run.out)});
    EXPECT_EQ(valid.exitStatus, 0) << valid.out << valid.err;
    return parseTree(run.out);
}

// Each word that follows the label.
std::vector<std::string> wordsAfter(const std::string& text, const std::string& label) {
    std::vector<std::string> words;
    for (auto at = text.find(label); at != std::string::npos; at = text.find(label, at + 1)) {
        const auto begin = at + label.size();
        words.push_back(text.substr(begin, text.find_first_of(" \n", begin) - begin));
    }
    return words;
}

TEST_F(Show, PrintsTheSameFieldsOfARequestAsOpenssl) {
    const std::string signer = tallow.file("signer.pem", certs().good);
    ASSERT_EQ(run({"openssl", "ocsp", "-issuer", root, "-sha256", "-cert", signer, "-sha1", "-cert",
                   tallow.file("other.pem", certs().revoked), "-signer", signer, "-signkey",
                   tallow.file("key.pem", certs().good.key.pem()), "-reqout", request})
                  .exitStatus,
              0);
    const std::string text = run({"openssl", "ocsp", "-reqin", request, "-req_text"}).out;
    const Fields fields = shown(request);
    const auto serials = wordsAfter(text, "Serial Number: ");
    const auto names = wordsAfter(text, "Issuer Name Hash: ");
    const auto keys = wordsAfter(text, "Issuer Key Hash: ");
    const auto hashes = wordsAfter(text, "Hash Algorithm: ");
    ASSERT_GE(serials.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        const std::string at = "OCSPRequest.requestList." + std::to_string(i) + ".reqCert.";
        EXPECT_EQ(fields.at(at + "serialNumber"), serials[i]);
        EXPECT_EQ(fields.at(at + "issuerNameHash"), names[i]);
        EXPECT_EQ(fields.at(at + "issuerKeyHash"), keys[i]);
        EXPECT_THAT(fields.at(at + "hashAlgorithm"), testing::StartsWith(hashes[i] + " ("));
    }
    EXPECT_THAT(text, HasSubstr(fields.at("OCSPRequest.requestExtensions.0.nonce")));
    EXPECT_THAT(fields, IsSupersetOf(Rows{
                            {"OCSPRequest.version", "v1"},
                            {"OCSPRequest.requestorName", "directoryName: CN=good"},
                            {"OCSPRequest.optionalSignature.signatureAlgorithm", "sha256ECDSA (1.2.840.10045.4.3.2)"},
                            {"OCSPRequest.optionalSignature.certs.0.subject", "CN=good"}}));
    const std::string signature = fields.at("OCSPRequest.optionalSignature.signature");
    EXPECT_THAT(toUpperHex(readFile(request)), HasSubstr(signature));
}

TEST_F(Show, ReadsDerPemAndBase64Alike) {
    const Bytes der = buildResponse(goodResponse());
    const std::string plain = tallow.file("plain", der);
    const std::string lines = run({"openssl", "base64", "-in", plain}).out;
    const Fields expected = shown(plain);
    EXPECT_EQ(shown(tallow.file("base64", lines)), expected);
    EXPECT_EQ(shown(tallow.file("one-line", run({"openssl", "base64", "-A", "-in", plain}).out)), expected);
    EXPECT_EQ(shown(tallow.file(
                  "pem", "Some text\n-----BEGIN OCSP RESPONSE-----\n" + lines + "-----END OCSP RESPONSE-----\n")),
              expected);
}

Bytes explicitTime(unsigned number, const std::string& text) {
    return tlv::context(number, tlv::generalizedTime(text));
}

// A response with every field.
ResponseSpec fullResponse() {
    ResponseSpec spec(certs().delegate);
    spec.version = 0;
    spec.responderIdKind = ResponderIdKind::kByKey;
    spec.producedAt = "20260102030405Z";
    EntrySpec& entry = spec.entries.emplace_back(certIdOf(certs().revoked, certs().root), EntryStatus::kRevoked);
    entry.revocationTime = "20250102030405Z";
    entry.revocationReason = 1;
    entry.thisUpdate = "20260102030400Z";
    entry.nextUpdate = "20260103030400Z";
    const Bytes locations = tlv::sequence(
        {tlv::sequence({tlv::context(0, tlv::context(0, tlv::contextPrimitive(6, bytesOf("http://crl.example/"))))})});
    entry.extensions = {{"1.3.6.1.5.5.7.48.1.3", false,
                         tlv::sequence({tlv::context(0, tlv::ia5String("http://crl.example/1")),
                                        tlv::context(1, tlv::integer(7)), explicitTime(2, "20260101000000Z")})},
                        {"1.3.6.1.5.5.7.48.1.6", false, tlv::generalizedTime("20240101000000Z")},
                        {"2.5.29.21", true, tlv::enumerated(6)},
                        {"1.2.643.2.2.47.2", false, locations},
                        {"1.2.3.4", true, bytesOf("\x01\x02")}};
    spec.entries.emplace_back(certIdOf(certs().unknown, certs().root, kSha256Oid), EntryStatus::kUnknown).nextUpdate =
        std::nullopt;
    spec.extensions = {
        nonceExtension(bytesOf("nonce")),
        {"1.3.6.1.5.5.7.48.1.9", true, tlv::null()},
        {"1.3.6.1.5.5.7.48.1.4", false, tlv::sequence({tlv::oid("1.3.6.1.5.5.7.48.1.1"), tlv::oid("1.2.3")})}};
    spec.trailing = bytesOf("end");
    return spec;
}

TEST_F(Show, NamesEveryFieldAndExtensionOfAResponse) {
    const Fields fields = shown(tallow.file("response.der", buildResponse(fullResponse())));
    expectVectors("cli/show_response.txt", {{"field", valuesIn(fields)}});
    const std::string serial = "OCSPResponse.response.responses.0.certID.serialNumber";
    EXPECT_EQ(fields.at(serial), toUpperHex(certs().revoked.serial()));
    EXPECT_THAT(fields.at("OCSPResponse.response.responderID"), testing::StartsWith("byKey: "));
    const ProcessResult text = Command::plain({"show", tallow.folder().file("response.der")});
    EXPECT_THAT(text.out, AllOf(testing::StartsWith("OCSPResponse:\n  responseStatus: successful\n"),
                                HasSubstr("          crlUrl: http://crl.example/1\n")));
}

// The decoders accept lengths in more octets than needed, so must the reader of further fields.
TEST_F(Show, FollowsLongLengthsAndUnusualNames) {
    const Bytes id = certIdOf(certs().good, certs().root).encode();
    const Bytes list = tlv::sequence({tlv::sequence({id})});
    const Bytes version = tlv::rawLongLength(0xA0, tlv::integer(2), 3);
    const Bytes name = tlv::context(1, tlv::contextPrimitive(6, bytesOf("http://requestor.example/")));
    const Fields fields =
        shown(tallow.file("request.der", tlv::sequence({tlv::rawLongLength(0x30, concat({version, name, list}), 4)})));
    EXPECT_THAT(fields, IsSupersetOf(Rows{{"OCSPRequest.version", "02"},
                                          {"OCSPRequest.requestorName", "URI: http://requestor.example/"}}));
}

// A NUL does not end a name, invalid octets are not left out, and special characters are escaped.
TEST_F(Show, PrintsNamesCompletely) {
    const auto nameOf = [](const Bytes& value) {
        return tlv::sequence({tlv::raw(0x31, tlv::sequence({tlv::oid("2.5.4.3"), value}))});
    };
    const Bytes name = nameOf(tlv::raw(0x0C, bytesOf(std::string("evil\0.good", 10))));
    const Bytes url = bytesOf(std::string("http://a:secret@b\0c", 19));
    const Bytes location = tlv::sequence({tlv::oid("1.3.6.1.5.5.7.48.1"), tlv::contextPrimitive(6, url)});
    const Bytes points = tlv::sequence({tlv::sequence(
        {tlv::context(0, tlv::context(0, tlv::context(4, name))), tlv::contextPrimitive(1, {0x05, 0x60})})});
    const Bytes otherName = tlv::context(0, concat({tlv::oid("1.2.3"), tlv::context(0, tlv::null())}));
    ResponseSpec spec = goodResponse();
    spec.responderId = tlv::context(1, name);
    spec.entries[0].extensions = {
        {"1.3.6.1.5.5.7.48.1.7", false, tlv::sequence({name, tlv::sequence({location})})},
        {"1.2.643.2.2.47.2", false, points},
        {"1.3.6.1.5.5.7.48.1.3", false, tlv::sequence({tlv::context(0, tlv::raw(0x16, url))})},
        {"2.5.29.29", false, tlv::sequence({tlv::contextPrimitive(2, bytesOf("h\xFFx")), otherName})},
        {"2.5.29.29", false,
         tlv::sequence({tlv::context(4, nameOf(tlv::raw(0x1E, {0xD8, 0x3D, 0xDE, 0x00, 0xDC, 0x00}))),
                        tlv::context(4, nameOf(tlv::raw(0x13, bytesOf("#a,b+c=d\\x ")))),
                        tlv::context(4, nameOf(tlv::raw(0x1E, {0x00, 0x20, 0x00, 0x3B})))})}};
    const Fields fields = shown(tallow.file("response.der", buildResponse(spec)));
    EXPECT_EQ(fields.at("OCSPResponse.response.responses.0.singleExtensions.3.certificateIssuer.1"),
              toUpperHex(otherName));
    expectVectors("cli/show_names.txt", {{"field", valuesIn(fields)}});
}

TEST_F(Show, PrintsFailuresForeignTypesAndBareResponses) {
    ResponseSpec bare = goodResponse();
    bare.bare = true;
    ResponseSpec foreign = goodResponse();
    foreign.responseType = "1.2.3.4";
    struct Row {
        const char* name;
        Bytes message;
        const char* path;
        const char* value;
    };
    for (const Row& row :
         {Row{"try later", tlv::sequence({tlv::enumerated(3)}), "OCSPResponse.responseStatus", "tryLater"},
          Row{"foreign", buildResponse(foreign), "OCSPResponse.responseType", "1.2.3.4"},
          Row{"bare", buildResponse(bare), "BasicOCSPResponse.responses.0.certStatus", "good"}}) {
        SCOPED_TRACE(row.name);
        EXPECT_THAT(shown(tallow.file("message", row.message)), Contains(Pair(row.path, row.value)));
    }
}

TEST_F(Show, EscapesHostileTextAndRejectsOtherFilesInOneLine) {
    ResponseSpec spec = goodResponse();
    spec.entries[0].extensions = {{"1.3.6.1.5.5.7.48.1.3", false,
                                   tlv::sequence({tlv::context(0, tlv::ia5String("x\x1B]0;owned\x07\ny: good"))})}};
    const ProcessResult text = Command::plain({"show", tallow.file("hostile.der", buildResponse(spec))});
    EXPECT_EQ(text.exitStatus, 0);
    EXPECT_THAT(text.out, AllOf(Not(HasSubstr("\x1B")), Not(HasSubstr("\ny: good")), HasSubstr("\\u{1B}]0;owned")));
    const Bytes half = buildResponse(goodResponse());
    for (const std::string& content :
         {std::string("garbage"), std::string("MAA="), certs().good.certificatePem(), std::string("\x30\x80", 2),
          std::string(half.begin(), half.begin() + 100), std::string(2000, '\x30'), std::string((4U << 20) + 1, 'x')}) {
        const std::string file = tallow.file("bad", content);
        expectMistake(Command::plain({"show", file}), file + ": ");
    }
}

}  // namespace
