#include "tests/cli/command.h"

#include <algorithm>

#include "tests/support/settings_file.h"
#include "tests/support/tlv.h"

namespace testkit {

namespace {

constexpr int kTimeoutMs = 60000;

CommandPki makePki() {
    CommandPki pki;
    pki.root = rootCa("command root");
    CertificateSpec responder{.commonName = "responder", .extendedKeyUsage = "OCSPSigning"};
    pki.markless = issue(pki.root, responder);
    responder.ocspNoCheck = true;
    pki.delegate = issue(pki.root, responder);
    pki.good = issue(pki.root, {.commonName = "good"});
    pki.revoked = issue(pki.root, {.commonName = "revoked"});
    pki.unknown = issue(pki.root, {.commonName = "unknown"});
    return pki;
}

}  // namespace

const CommandPki& certs() {
    static const CommandPki pki = makePki();
    return pki;
}

Identity leafWith(const std::vector<std::string>& ocspUrls) {
    return issue(certs().root, {.commonName = "leaf", .ocspUrls = ocspUrls});
}

ResponderOptions responderOptions(const Identity& signer) {
    return {.ca = certs().root,
            .signer = signer,
            .index = {{certs().good, 'V'}, {certs().revoked, 'R'}},
            .arguments = {"-nmin", "5"},
            .clock = ""};
}

ResponseSpec responseAbout(const Identity& identity, EntryStatus status, const Identity& issuer) {
    return ResponseSpec(certs().delegate, {EntrySpec(certIdOf(identity, issuer), status)});
}

ResponseSpec goodResponse() {
    return responseAbout(certs().good, EntryStatus::kGood);
}

HttpServer serverOf(HttpReply reply) {
    return HttpServer([reply = std::move(reply)](const HttpRequest&) { return reply; });
}

HttpServer serverOf(const ResponseSpec& response) {
    return serverOf(HttpReply{.body = buildResponse(response)});
}

Arguments joined(Arguments first, const Arguments& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Identity withUnknownAlgorithm(Identity identity) {
    const Bytes algorithm = tlv::oid("1.2.840.10045.4.3.2");
    // It occurs in tbsCertificate and before the signature.
    for (int i = 0; i < 2; ++i) {
        const auto at =
            std::search(identity.certificate.begin(), identity.certificate.end(), algorithm.begin(), algorithm.end());
        at[static_cast<std::ptrdiff_t>(algorithm.size()) - 1] = 0x7F;
    }
    return identity;
}

Command::Command(const std::string& moreSettings) {
    settings_ = dir_.write("settings.toml", machineSettings(dir_, moreSettings));
    root_ = file("trusted-root.pem", certs().root);
}

ProcessResult Command::checkUntrusting(const Arguments& arguments) const {
    return plain(joined({"check", "--settings", settings_}, arguments));
}

ProcessResult Command::check(const Arguments& arguments) const {
    return checkUntrusting(joined({"--trust", root_}, arguments));
}

ProcessResult Command::plain(const Arguments& arguments) {
    return run(joined({TALLOW_COMMAND}, arguments), kTimeoutMs);
}

ProcessResult Command::with(Arguments arguments) const {
    return plain(joined(std::move(arguments), {"--settings", settings_}));
}

std::string Command::file(const std::string& name, const Identity& identity) const {
    return dir_.write(name, identity.certificatePem());
}

std::string responderUrl() {
    static const Responder responder(responderOptions());
    return responder.url();
}

void expectOneLine(const ProcessResult& run, int exitStatus, const std::vector<std::string>& words) {
    SCOPED_TRACE(run.out + run.err);
    EXPECT_EQ(run.exitStatus, exitStatus);
    EXPECT_EQ(numLines(run.err), 1U);
    for (const std::string& word : words) {
        EXPECT_THAT(run.err, testing::HasSubstr(word));
    }
}

void expectMistake(const ProcessResult& run, const std::string& words) {
    expectOneLine(run, 64, {words});
    EXPECT_EQ(run.out.empty(), run.out.find("\"exitStatus\": 64") == std::string::npos) << run.out;
    EXPECT_THAT(run.err, testing::StartsWith("tallow: "));
}

void expectError(const ProcessResult& run, const std::string& code, const std::vector<std::string>& words) {
    expectOneLine(run, 3, joined({code}, words));
    const auto results = parseResults(run.out);
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].at("status"), "error");
    EXPECT_EQ(results[0].at("error.code"), code);
    EXPECT_EQ(results[0].count("producedAt") + results[0].count("thisUpdate"), 0U);
}

ProcessResult validateJson(const Arguments& files) {
    return run(joined({TALLOW_PYTHON3, TALLOW_VALIDATE_JSON, TALLOW_SCHEMAS}, files));
}

std::string deadUrl() {
    return "http://127.0.0.1:" + std::to_string(closedPort()) + "/";
}

std::size_t numLines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace testkit
