// `verify` on stored responses, real and made, without any network.
#include <gmock/gmock.h>

#include "tests/cli/command.h"
#include "tests/cli/json_result.h"
#include "tests/support/http_server.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;

ProcessResult verify(const Command& tallow, const Arguments& arguments) {
    return tallow.with(joined({"verify", "--json", "--trust", tallow.file("root.pem", certs().root)}, arguments));
}

TEST(Verify, GivesTheVerdictOfTheCheckThatSavedTheResponse) {
    const Command tallow;
    const Responder responder(responderOptions());
    const std::string issuer = tallow.file("issuer.pem", certs().root);
    const std::string request = tallow.folder().file("request.der");
    const std::string response = tallow.folder().file("response.der");
    const std::string otherRequest = tallow.folder().file("other.der");
    struct Row {
        const Identity& asked;
        int exitStatus;
        const char* status;
    };
    for (const Row& row :
         {Row{certs().good, 0, "good"}, Row{certs().revoked, 1, "revoked"}, Row{certs().unknown, 2, "unknown"}}) {
        SCOPED_TRACE(row.status);
        const std::string leaf = tallow.file("leaf.pem", row.asked);
        ASSERT_EQ(tallow.check({"--url", responder.url(), "--save-request", otherRequest, leaf}).exitStatus,
                  row.exitStatus);
        const ProcessResult check = tallow.check(
            {"--json", "--url", responder.url(), "--save-request", request, "--save-response", response, leaf});
        auto expected = parseResults(check.out).at(0);
        for (const Arguments& how : {Arguments{response}, Arguments{"--request", request, response},
                                     Arguments{"--cert", leaf, "--issuer", issuer, response},
                                     Arguments{"--cert", leaf, "--request", request, response}}) {
            SCOPED_TRACE(testing::PrintToString(how));
            const ProcessResult run = verify(tallow, how);
            EXPECT_EQ(run.exitStatus, row.exitStatus) << run.err;
            const auto results = parseResults(run.out);
            ASSERT_EQ(results.size(), 1U);
            for (const char* field : {"status", "serial", "producedAt", "thisUpdate", "nextUpdate"}) {
                EXPECT_EQ(results[0].at(field), expected.at(field)) << field;
            }
            EXPECT_EQ(results[0].at("responder"), "CN=responder");
            EXPECT_EQ(results[0].count("revocationTime"), expected.count("revocationTime"));
        }
        // Another request about the same certificate has another nonce.
        const ProcessResult other = verify(tallow, {"--request", otherRequest, response});
        EXPECT_EQ(other.exitStatus, 3);
        EXPECT_EQ(parseResults(other.out).at(0).at("error.code"), "0xC2110120");
    }
}

TEST(Verify, RejectsTamperedAndStaleResponses) {
    const Command tallow;
    ResponseSpec tampered = goodResponse();
    tampered.corruptSignature = true;
    ResponseSpec stale = responseAbout(certs().good, EntryStatus::kRevoked);
    stale.entries[0].nextUpdate = generalizedTimeText(-30);
    for (const auto& [response, code] :
         {std::pair(buildResponse(tampered), "0x80092004"), std::pair(buildResponse(stale), "0xC2110122"),
          std::pair(bytesOf("garbage"), "0x80093101"), std::pair(Bytes(), "0x8007000D")}) {
        const ProcessResult run = verify(tallow, {tallow.file("response.der", response)});
        expectOneLine(run, 3, {code});
        const auto results = parseResults(run.out);
        ASSERT_EQ(results.size(), 1U);
        EXPECT_EQ(results[0].at("status"), "error");
        EXPECT_EQ(results[0].at("error.code"), code);
        EXPECT_EQ(results[0].count("thisUpdate"), 0U);
    }
}

TEST(Verify, ReportsEachEntry) {
    const Command tallow;
    ResponseSpec spec = goodResponse();
    spec.entries.emplace_back(certIdOf(certs().unknown, certs().root), EntryStatus::kUnknown);
    spec.entries.emplace_back(certIdOf(certs().revoked, certs().root), EntryStatus::kRevoked);
    spec.entries.emplace_back(certIdOf(leafWith({}), certs().root)).nextUpdate = generalizedTimeText(-30);
    const std::string response = tallow.file("response.der", buildResponse(spec));
    const ProcessResult run = verify(tallow, {response});
    EXPECT_EQ(run.exitStatus, 1);
    const auto results = parseResults(run.out);
    std::vector<std::string> states;
    states.reserve(results.size());
    for (const auto& result : results) {
        states.push_back(result.at("status"));
    }
    EXPECT_THAT(states, testing::ElementsAre("good", "unknown", "revoked", "error"));
    const std::string issuer = tallow.file("issuer.pem", certs().root);
    EXPECT_EQ(verify(tallow, {"--cert", tallow.file("good.pem", certs().good), response}).exitStatus, 0);
    const ProcessResult absent =
        verify(tallow, {"--cert", tallow.file("absent.pem", leafWith({})), "--issuer", issuer, response});
    EXPECT_EQ(absent.exitStatus, 3);
    EXPECT_EQ(parseResults(absent.out).at(0).at("error.code"), "0xC2110125");
    CertificateSpec old;
    old.notAfterSeconds = -600;
    const Identity expired = issue(certs().root, old);
    spec.entries = {EntrySpec(certIdOf(expired, certs().root))};
    const ProcessResult late = verify(tallow, {"--cert", tallow.file("expired.pem", expired), "--issuer", issuer,
                                               tallow.file("late.der", buildResponse(spec))});
    EXPECT_EQ(late.exitStatus, 3);
    EXPECT_THAT(late.err, testing::HasSubstr("entry: the certificate expired on 20"));
    spec.entries[0].status = EntryStatus::kRevoked;
    const HttpServer server = serverOf(spec);
    const std::string revoked = tallow.file("revoked.der", buildResponse(spec));
    EXPECT_EQ(verify(tallow, {"--cert", tallow.folder().file("expired.pem"), "--issuer", issuer, revoked}).exitStatus,
              1);
    EXPECT_EQ(tallow.check({"--no-nonce", "--url", server.url(), tallow.folder().file("expired.pem")}).exitStatus, 1);
}

TEST(Verify, UsesNoNetworkAndTakesCrlsFromFiles) {
    const Command tallow;
    const HttpServer server = serverOf(HttpReply{.body = makeCrl(certs().root, {})});
    CertificateSpec signer;
    signer.commonName = "delegate with addresses";
    signer.extendedKeyUsage = "OCSPSigning";
    signer.crlUrls = {server.url("/crl")};
    signer.caIssuersUrls = {server.url("/ca")};
    ResponseSpec spec = goodResponse();
    spec.signer = issue(certs().root, signer);
    const std::string response = tallow.file("response.der", buildResponse(spec));
    EXPECT_EQ(verify(tallow, {response}).exitStatus, 3);
    const std::string crl = tallow.file("root.crl", makeCrl(certs().root, {}));
    EXPECT_EQ(verify(tallow, {"--crl", crl, response}).exitStatus, 0);
    const std::string revoking =
        tallow.file("revoking.crl", makeCrl(certs().root, {.revokedSerials = {spec.signer.serial()}}));
    EXPECT_EQ(verify(tallow, {"--crl", revoking, response}).exitStatus, 3);
    EXPECT_TRUE(server.requests().empty());
}

TEST(Verify, ReportsUnusableOptionFiles) {
    const Command tallow;
    const std::string response = tallow.file("response.der", buildResponse(goodResponse()));
    const std::string leaf = tallow.file("leaf.pem", leafWith({}));
    const Bytes nothing = tlv::sequence({tlv::sequence({tlv::sequence(std::vector<Bytes>())})});
    for (const Mistake& row :
         {Mistake{{"--request", response, response}, "no request"},
          Mistake{{"--request", tallow.file("nothing.der", nothing), response}, "no certificate"},
          Mistake{{"--request", leaf, response}, "CERTIFICATE"},
          Mistake{{"--request", "missing", response}, "No such file"},
          Mistake{{"--cert", response, response}, "not a certificate"},
          Mistake{{"--cert", tallow.file("other.pem", rootCa("other")), response}, "--issuer"},
          Mistake{{"--cert", leaf, "--issuer", tallow.file("other.pem", rootCa("command root")), response},
                  "another key"},
          Mistake{{"--cert", tallow.file("altered.pem", withUnknownAlgorithm(certs().good)), "--issuer",
                   tallow.file("root.pem", certs().root), response},
                  "cannot be verified"}}) {
        expectMistake(verify(tallow, row.arguments), row.words);
    }
}

}  // namespace
