// `verify` on stored responses, real and made, without any network.
#include "tests/cli/command.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;

class Verify : public CommandTest {
protected:
    ProcessResult verify(const Arguments& arguments) const {
        return tallow.with(joined({"verify", "--json", "--trust", root}, arguments));
    }
};

TEST_F(Verify, GivesTheVerdictOfTheCheckThatSavedTheResponse) {
    const std::string otherRequest = tallow.folder().file("other.der");
    struct Row {
        const Identity& asked;
        int exitStatus;
        const char* status;
    };
    for (const Row& row :
         {Row{certs().good, 0, "good"}, Row{certs().revoked, 1, "revoked"}, Row{certs().unknown, 2, "unknown"}}) {
        SCOPED_TRACE(row.status);
        tallow.file("leaf.pem", row.asked);
        ASSERT_EQ(tallow.check({"--url", responderUrl(), "--save-request", otherRequest, leaf}).exitStatus,
                  row.exitStatus);
        const ProcessResult check = tallow.check(
            {"--json", "--url", responderUrl(), "--save-request", request, "--save-response", response, leaf});
        auto expected = parseResults(check.out).at(0);
        for (const Arguments& how : {Arguments{response}, Arguments{"--request", request, response},
                                     Arguments{"--cert", leaf, "--issuer", root, response},
                                     Arguments{"--cert", leaf, "--request", request, response}}) {
            SCOPED_TRACE(testing::PrintToString(how));
            const ProcessResult run = verify(how);
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
        expectError(verify({"--request", otherRequest, response}), "0xC2110120");
    }
}

TEST_F(Verify, RejectsTamperedAndStaleResponses) {
    ResponseSpec tampered = goodResponse();
    tampered.corruptSignature = true;
    ResponseSpec stale = responseAbout(certs().good, EntryStatus::kRevoked);
    stale.entries[0].nextUpdate = generalizedTimeText(-30);
    for (const auto& [response, code] :
         {std::pair(buildResponse(tampered), "0x80090006"), std::pair(buildResponse(stale), "0xC2110122"),
          std::pair(bytesOf("garbage"), "0x80093101"), std::pair(Bytes(), "0x8007000D")}) {
        expectError(verify({tallow.file("response.der", response)}), code);
    }
}

TEST_F(Verify, ReportsEachEntry) {
    ResponseSpec spec = goodResponse();
    spec.entries.emplace_back(certIdOf(certs().unknown, certs().root), EntryStatus::kUnknown);
    spec.entries.emplace_back(certIdOf(certs().revoked, certs().root), EntryStatus::kRevoked);
    spec.entries.emplace_back(certIdOf(leafWith({}), certs().root)).nextUpdate = generalizedTimeText(-30);
    tallow.file("response.der", buildResponse(spec));
    const ProcessResult run = verify({response});
    EXPECT_EQ(run.exitStatus, 1);
    const auto results = parseResults(run.out);
    std::vector<std::string> states;
    states.reserve(results.size());
    for (const auto& result : results) {
        states.push_back(result.at("status"));
    }
    EXPECT_THAT(states, testing::ElementsAre("good", "unknown", "revoked", "error"));
    EXPECT_EQ(verify({"--cert", tallow.file("good.pem", certs().good), response}).exitStatus, 0);
    expectError(verify({"--cert", tallow.file("absent.pem", leafWith({})), "--issuer", root, response}), "0xC2110125");
    const Identity expired = issue(certs().root, {.notAfterSeconds = -600});
    spec.entries = {EntrySpec(certIdOf(expired, certs().root))};
    const ProcessResult late = verify({"--cert", tallow.file("expired.pem", expired), "--issuer", root,
                                       tallow.file("late.der", buildResponse(spec))});
    EXPECT_EQ(late.exitStatus, 3);
    EXPECT_THAT(late.err, testing::HasSubstr("entry: certificate CN=subject expired on 20"));
    spec.entries[0].status = EntryStatus::kRevoked;
    const HttpServer server = serverOf(spec);
    const std::string revoked = tallow.file("revoked.der", buildResponse(spec));
    EXPECT_EQ(verify({"--cert", tallow.folder().file("expired.pem"), "--issuer", root, revoked}).exitStatus, 1);
    EXPECT_EQ(tallow.check({"--no-nonce", "--url", server.url(), tallow.folder().file("expired.pem")}).exitStatus, 1);
}

TEST_F(Verify, UsesNoNetworkAndTakesCrlsFromFiles) {
    const HttpServer server = serverOf(HttpReply{.body = makeCrl(certs().root, {})});
    ResponseSpec spec = goodResponse();
    spec.signer = issue(
        certs().root,
        {.extendedKeyUsage = "OCSPSigning", .caIssuersUrls = {server.url("/ca")}, .crlUrls = {server.url("/crl")}});
    tallow.file("response.der", buildResponse(spec));
    EXPECT_EQ(verify({response}).exitStatus, 3);
    const std::string crl = tallow.file("root.crl", makeCrl(certs().root, {}));
    EXPECT_EQ(verify({"--crl", crl, response}).exitStatus, 0);
    const std::string revoking =
        tallow.file("revoking.crl", makeCrl(certs().root, {.revokedSerials = {spec.signer.serial()}}));
    EXPECT_EQ(verify({"--crl", revoking, response}).exitStatus, 3);
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(Verify, ReportsUnusableOptionFiles) {
    tallow.file("response.der", buildResponse(goodResponse()));
    tallow.file("leaf.pem", leafWith({}));
    const Bytes nothing = tlv::sequence({tlv::sequence({tlv::sequence(std::vector<Bytes>())})});
    for (const Mistake& row :
         {Mistake{{"--request", response, response}, "no request"},
          Mistake{{"--request", tallow.file("nothing.der", nothing), response}, "no certificate"},
          Mistake{{"--request", leaf, response}, "CERTIFICATE"},
          Mistake{{"--request", "missing", response}, "No such file"},
          Mistake{{"--cert", response, response}, "not a certificate"},
          Mistake{{"--cert", tallow.file("two.pem", certs().good.certificatePem() + certs().revoked.certificatePem()),
                   response},
                  "two.pem: contains 2 certificates to check; name a file with one"},
          Mistake{{"--cert", tallow.file("below other.pem", issue(rootCa("other"), {})), response}, "--issuer"},
          Mistake{{"--cert", leaf, "--issuer", tallow.file("other.pem", rootCa("command root")), response},
                  "another key"},
          Mistake{
              {"--cert", tallow.file("altered.pem", withUnknownAlgorithm(certs().good)), "--issuer", root, response},
              "cannot be verified"}}) {
        expectMistake(verify(row.arguments), row.words);
    }
}

}  // namespace
