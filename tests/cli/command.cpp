#include "tests/cli/command.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>

#include "tests/support/tlv.h"

namespace testkit {

namespace {

constexpr int kTimeoutMs = 60000;

CommandPki makePki() {
    CommandPki pki;
    pki.root = rootCa("command root");
    CertificateSpec responder;
    responder.commonName = "responder";
    responder.extendedKeyUsage = "OCSPSigning";
    pki.markless = issue(pki.root, responder);
    responder.ocspNoCheck = true;
    pki.delegate = issue(pki.root, responder);
    CertificateSpec leaf;
    for (auto [name, identity] :
         {std::pair("good", &pki.good), std::pair("revoked", &pki.revoked), std::pair("unknown", &pki.unknown)}) {
        leaf.commonName = name;
        *identity = issue(pki.root, leaf);
    }
    return pki;
}

}  // namespace

const CommandPki& certs() {
    static const CommandPki pki = makePki();
    return pki;
}

Identity leafWith(const std::vector<std::string>& ocspUrls) {
    CertificateSpec spec;
    spec.commonName = "leaf";
    spec.ocspUrls = ocspUrls;
    return issue(certs().root, spec);
}

ResponderOptions responderOptions(const Identity& signer) {
    return {.ca = certs().root,
            .signer = signer,
            .index = {{certs().good, 'V'}, {certs().revoked, 'R'}},
            .arguments = {"-nmin", "5"},
            .clock = ""};
}

ResponseSpec goodResponse() {
    ResponseSpec spec(certs().delegate);
    spec.entries.emplace_back(certIdOf(certs().good, certs().root));
    return spec;
}

Identity withUnknownAlgorithm(Identity identity) {
    const Bytes algorithm = tlv::oid("1.2.840.10045.4.3.2");
    auto at = identity.certificate.begin();
    // It stands inside of what is signed and before the signature.
    for (int i = 0; i < 2; ++i) {
        at = std::search(at, identity.certificate.end(), algorithm.begin(), algorithm.end());
        at += static_cast<long>(algorithm.size()) - 1;
        *at = 0x7F;
    }
    return identity;
}

Command::Command(const std::string& moreSettings) {
    const std::string base = dir_.path().string();
    settings_ = dir_.write("settings.toml", "[crypto]\nmachine_stores = \"" + base + "/machine\"\nuser_stores = \"" +
                                                base + "/user\"\nurl_cache = \"" + base +
                                                "/cache\"\nsystem_roots = false\n" + moreSettings);
    root_ = file("trusted-root.pem", certs().root);
}

ProcessResult Command::checkUntrusting(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all{"check", "--settings", settings_};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return plain(all);
}

ProcessResult Command::check(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all{"--trust", root_};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return checkUntrusting(all);
}

ProcessResult Command::plain(const std::vector<std::string>& arguments) {
    std::vector<std::string> all{TALLOW_COMMAND};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return run(all, kTimeoutMs);
}

ProcessResult Command::with(std::vector<std::string> arguments) const {
    arguments.insert(arguments.end(), {"--settings", settings_});
    return plain(arguments);
}

std::string Command::file(const std::string& name, const Identity& identity) const {
    return dir_.write(name, identity.certificatePem());
}

std::string upperHex(const Bytes& octets) {
    std::string hex = toHex(octets);
    std::transform(hex.begin(), hex.end(), hex.begin(), [](unsigned char c) { return std::toupper(c); });
    return hex;
}

void expectMistake(const ProcessResult& run, const std::string& words) {
    SCOPED_TRACE(run.err);
    EXPECT_EQ(run.exitStatus, 64);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(numLines(run.err), 1U);
    EXPECT_THAT(run.err, testing::AllOf(testing::StartsWith("tallow: "), testing::HasSubstr(words)));
}

std::size_t numLines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace testkit
