// Unusable input: one clear line on standard error, the right exit status, no verdict.
#include <filesystem>

#include "tests/cli/command.h"

namespace {

using namespace testkit;
using testing::HasSubstr;
using CertificateFile = CommandTest;
using OptionFile = CommandTest;
using CommandLine = CommandTest;

constexpr int kExitUsage = 64;
constexpr int kExitNoAnswer = 3;

std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST_F(CertificateFile, IsNamedInOneLineWhenItIsUnusable) {
    const std::string pem = certs().good.certificatePem();
    const Bytes& der = certs().good.certificate;
    std::filesystem::create_directory(tallow.folder().file("folder"));
    struct Row {
        const char* name;
        std::string content;  // "-": nothing is written
        const char* code;
        const char* words;
    };
    for (const Row& row : {
             Row{"missing", "-", "0x80070002", "No such file"},
             Row{"folder", "-", "0x80070570", "is a directory"},
             Row{"empty", "", "0x8007000D", "empty"},
             Row{"key.pem", certs().good.key.pem(), "0x8007000D", "PRIVATE KEY"},
             Row{"garbage", std::string(300, '\x01'), "0x80093101", "not a certificate"},
             Row{"text", "not a certificate at all\n", "0x80093101", "not a certificate"},
             Row{"half.pem", pem.substr(0, pem.size() / 2), "0x8007000D", "PEM"},
             Row{"bad.pem", "-----BEGIN CERTIFICATE-----\n!!\n-----END CERTIFICATE-----\n", "0x8007000D", "PEM"},
             Row{"begin.pem", "-----BEGIN CERTIFICATE", "0x8007000D", "PEM"},
             Row{"half.der", textOf(der).substr(0, der.size() / 2), "0x80093101", "not a certificate"},
             Row{"longer.der", textOf(der) + "tail", "0x80093101", "not a certificate"},
         }) {
        SCOPED_TRACE(row.name);
        const std::string path = tallow.folder().file(row.name);
        if (row.content != "-") {
            tallow.file(row.name, row.content);
        }
        const ProcessResult run = tallow.check({"--json", path});
        expectError(run, row.code, {"tallow: " + path + ": ", row.words});
    }
}

// Options apply to the whole run: no responder is asked when a file of theirs is unusable.
TEST_F(OptionFile, IsWrongUsageWhenItIsUnusable) {
    const HttpServer server = serverOf(HttpReply{});
    const std::string key = tallow.file("key.pem", certs().good.key.pem());
    const std::string missing = tallow.folder().file("missing");
    struct Row {
        const char* option;
        const std::string& path;
        const char* words;
    };
    for (const Row& row :
         {Row{"--issuer", key, "PRIVATE KEY"}, Row{"--issuer", missing, "No such file"}, Row{"--trust", key, "PRIVATE"},
          Row{"--trust", leaf, "contains no root"}, Row{"--certs", missing, "No such file"},
          Row{"--crl", leaf, "\"CERTIFICATE\"; name a file with a CRL"}, Row{"--crl", missing, "No such file"},
          Row{"--save-request", missing + "/request", "cannot be written"},
          Row{"--save-response", missing + "/response", "cannot be written"}}) {
        SCOPED_TRACE(std::string(row.option) + " " + row.path);
        const ProcessResult run = tallow.check({"--url", server.url(), row.option, row.path, leaf});
        expectMistake(run, row.path);
        EXPECT_THAT(run.err, HasSubstr(row.words));
    }
    EXPECT_EQ(server.requests().size(), 0U);
}

TEST_F(CommandLine, ReportsMistakesInOneLine) {
    for (const Mistake& row : {
             Mistake{{}, "give one of check, request"},
             Mistake{{"chekc", leaf}, "did you mean check?"},
             Mistake{{"frobnicate", leaf}, "the commands are check, request"},
             Mistake{{"--json", "check", leaf}, "options follow the command"},
             Mistake{{"help", "store", "ad"}, "did you mean add?"},
             Mistake{{"check"}, "CERT"},
             Mistake{{"check", "--settings", "missing.toml", leaf}, "missing.toml"},  // and not the defaults
             Mistake{{"check", "--no-such-option", leaf}, "--no-such-option"},
             Mistake{{"check", "--isuer", "ca.pem", leaf}, "unknown option --isuer; did you mean --issuer?"},
             Mistake{{"check", "--TRUST=ca.pem", leaf}, "unknown option --TRUST; did you mean --trust?"},
             Mistake{{"check", leaf, "--url"}, "--url needs a value; give --url URL"},
             Mistake{{"check", "--url", "http://a/", "--url", "http://b/", leaf}, "--url is given more than once"},
             Mistake{{"check", "--starttls", "smtp", leaf}, "add --connect or leave out --starttls"},
             Mistake{{"check", "--connect", "host", "--starttls", "smpt"}, "did you mean smtp?"},
             Mistake{{"check", "--color", "red", leaf}, "give one of auto, always, never"},
             Mistake{{"check", "--url", "", leaf}, "--url"},
             Mistake{{"check", "--url", "ftp://host/", leaf}, "--url: ftp://host/ is no http or https address"},
             Mistake{{"check", "--url", "https://name@#part", leaf},
                     "--url: https://***@#part is no http or https address"},
             Mistake{{"check", "--url", "http://[]/", leaf}, "--url: http://[]/ is no http or https address"},
             Mistake{{"check", "--proxy", "https://", leaf}, "--proxy: https:// is no http or https address"},
             Mistake{{"check", "--nonce", "require", "--no-nonce", leaf}, "--no-nonce exclude each other; give one"},
             Mistake{{"check", "--save-request", "a", "--save-response", "a", leaf}, "name the same file"},
             Mistake{{"verify", "--cert",
                      tallow.file("two.pem", certs().good.certificatePem() + certs().unknown.certificatePem()), leaf},
                     "contains 2 certificates to check"},
             Mistake{{"verify", "--at", "2199-01-01", "--cert", leaf, leaf}, "is in the future"},
             Mistake{{"check", "--issuer", "", leaf}, "--issuer"},
             Mistake{{"check", "--hash", "sha257", leaf}, "sha257"},
             Mistake{{"check", "--hash", "1.2.3.4", leaf}, "1.2.3.4"},
             Mistake{{"check", "--save-request", "one.der", leaf, leaf}, "--save-request"},
             Mistake{{"check", leaf, "--help"}, "./--help"},  // it may be a file: no help page with status 0
             Mistake{{"check", "-h.pem", leaf}, "./-h.pem"},
             Mistake{{"check", leaf, "-vh"}, "./-vh"},
             Mistake{{"check", "--json", "--version"}, "./--version"},
             Mistake{{"show"}, "FILE"},
             Mistake{{"request", leaf}, "--output is missing; give -o, --output FILE"},
             Mistake{{"request", "-o", "", leaf}, "--output"},
             Mistake{{"verify", leaf, leaf}, "one argument too many"},
         }) {
        expectMistake(Command::plain(row.arguments), row.words);
    }
}

TEST_F(CommandLine, PrintsHelpAndVersionOnStandardOutput) {
    for (const auto& [arguments, words] : {std::pair(std::vector<std::string>{"--help"}, "check"),
                                           std::pair(std::vector<std::string>{"--version"}, "0."),
                                           std::pair(std::vector<std::string>{"check", "--help"}, "Exit status"),
                                           std::pair(std::vector<std::string>{"check", "--version"}, "tallow ")}) {
        const ProcessResult run = Command::plain(arguments);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_THAT(run.out, HasSubstr(words));
        EXPECT_EQ(run.err, "");
    }
}

TEST_F(CommandLine, TakesEveryArgumentAfterTheMarkAsAFile) {
    for (const char* const name : {"--help", "-h.pem", "--", "-"}) {
        const ProcessResult run = tallow.check({"--url", responderUrl(), leaf, "--", name});
        expectOneLine(run, kExitNoAnswer, {name});
    }
}

TEST_F(OptionFile, OfSettingsIsReportedWithLineAndColumn) {
    struct Row {
        const char* content;
        const char* place;
        int exitStatus;
    };
    // The policy is read before the certificates.
    for (const Row& row : {Row{"[crypto]\nsystem_roots = maybe\n", ":2:", kExitUsage},
                           Row{"[config.cades.ocsppolicy]\n\nNonceLength = \"8\"\n", ":3:", kExitUsage}}) {
        const std::string settings = tallow.file("broken.toml", std::string(row.content));
        const ProcessResult run =
            Command::plain({"check", "--settings", settings, "--url", "http://127.0.0.1:9/", leaf});
        expectOneLine(run, row.exitStatus, {settings + row.place});
    }
}

}  // namespace
