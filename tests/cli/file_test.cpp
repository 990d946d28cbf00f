// The files that users have, and which certificates in them are checked.
#include <algorithm>
#include <filesystem>

#include "tests/cli/command.h"

namespace {

using namespace testkit;
using testing::HasSubstr;
using InputFile = CommandTest;

constexpr int kExitNoAnswer = 3;

class ContainerFile : public CommandTest {
protected:
    // The file that "openssl ..." makes from the certificates of good, revoked and root, and the key of good.
    std::string made(const std::string& name, Arguments arguments) const {
        const std::string path = tallow.folder().file(name);
        EXPECT_EQ(run(joined({"openssl"}, joined(std::move(arguments), {"-out", path}))).exitStatus, 0) << name;
        return path;
    }
    std::string archive(const std::string& name, const Arguments& more) const {
        return made(name, joined({"pkcs12", "-export", "-in", leaf, "-inkey", key, "-certfile", root}, more));
    }

    const std::string key = tallow.file("leaf.key", certs().good.key.pem());
};

// "file status" of each result.
std::string resultsOf(const ProcessResult& run) {
    std::string text;
    for (const auto& result : parseResults(run.out)) {
        text += std::filesystem::path(result.at("file")).filename().string() + " " + result.at("status") + "\n";
    }
    return text;
}

TEST_F(InputFile, GivesAResultForEachCertificateThatIssuedNoOther) {
    const Identity ca = issueCa(certs().root, "ca");
    const Identity old = issue(certs().root, {.commonName = "old", .version = 1});
    const std::string good = certs().good.certificatePem();
    const std::string revoked = certs().revoked.certificatePem();
    const std::string top = certs().root.certificatePem();
    const std::string below = issue(ca, {.commonName = "below"}).certificatePem();
    const std::string broken = "-----BEGIN CERTIFICATE-----\nMIIB\n-----END CERTIFICATE-----\n";
    struct Row {
        std::vector<std::string> contents;  // of the files a, b, ...
        const char* results;
    };
    for (const Row& row : {
             Row{{good + top}, "a good\n"},
             Row{{top + certs().good.key.pem() + "a note\n" + good}, "a good\n"},
             Row{{good + revoked}, "a#1 good\na#2 revoked\n"},
             Row{{revoked + top + good + revoked}, "a#1 revoked\na#2 good\n"},
             Row{{old.certificatePem() + good}, "a#1 unknown\na#2 good\n"},
             Row{{good, top}, "a good\n"},
             Row{{top, good}, "b good\n"},
             Row{{top, revoked + good}, "b#1 revoked\nb#2 good\n"},
             Row{{good, good}, "a good\nb good\n"},
             Row{{below, ca.certificatePem(), top}, "a error\n"},   // its responder does not answer for this CA
             Row{{ca.certificatePem() + top}, "a unknown\n"},       // an intermediate certificate is checked,
             Row{{ca.certificatePem() + top, below}, "b error\n"},  // but not as an issuer
             Row{{ca.certificatePem() + good}, "a good\n"},         // nor beside an end entity
             Row{{good, broken, revoked}, "a good\nb error\nc revoked\n"},
             Row{{good + toPem(certs().revoked.certificate, "TRUSTED CERTIFICATE")}, "a error\n"},
         }) {
        Arguments arguments = {"--json", "--url", responderUrl()};
        std::string all;
        for (std::size_t i = 0; i < row.contents.size(); ++i) {
            arguments.push_back(tallow.file(std::string(1, static_cast<char>('a' + i)), row.contents[i]));
        }
        const ProcessResult run = tallow.check(arguments);
        EXPECT_EQ(resultsOf(run), row.results) << run.err;
    }
    const std::string alone = tallow.file("alone", top);
    expectError(tallow.check({"--json", alone}), "0xC2110121", {alone});
}

TEST_F(ContainerFile, IsReadLikeItsCertificates) {
    const std::string all = tallow.file(
        "all", certs().root.certificatePem() + certs().revoked.certificatePem() + certs().good.certificatePem());
    struct Row {
        std::string path;
        const char* results;
    };
    for (const Row& row : {
             Row{made("p7.pem", {"crl2pkcs7", "-nocrl", "-certfile", all}), "p7.pem#1 revoked\np7.pem#2 good\n"},
             Row{made("p7b", {"crl2pkcs7", "-nocrl", "-certfile", all, "-outform", "DER"}),
                 "p7b#1 revoked\np7b#2 good\n"},
             Row{archive("p12", {"-passout", "pass:"}), "p12 good\n"},
             Row{archive("plain.p12", {"-passout", "pass:1", "-certpbe", "NONE"}), "plain.p12 good\n"},
             Row{archive("nomac.p12", {"-passout", "pass:", "-nomac"}), "nomac.p12 good\n"},
         }) {
        EXPECT_EQ(resultsOf(tallow.check({"--json", "--url", responderUrl(), row.path})), row.results);
    }
    const std::string markless = made(
        "crl.p7",
        {"crl2pkcs7", "-in", tallow.file("crl.pem", toPem(makeCrl(certs().root, {}), "X509 CRL")), "-certfile", root});
    const Responder responder(responderOptions(certs().markless));
    for (const Arguments& crl : {Arguments{"--crl", markless}, {"--certs", markless}, {markless}}) {
        const ProcessResult run = tallow.check(joined({"--url", responder.url(), leaf}, crl));
        EXPECT_EQ(run.exitStatus, 0) << run.err;  // the responder is good by the CRL in the container alone
    }
}

TEST_F(ContainerFile, ThatCannotBeOpenedIsReportedWithTheCommandThatHelps) {
    const Bytes p12 = readFile(archive("p12", {"-passout", "pass:"}));
    Bytes twice = p12;
    twice.insert(twice.end(), p12.begin(), p12.end());
    // A million rounds become eight.
    Bytes costly = readFile(
        made("million", {"pkcs12", "-export", "-nokeys", "-in", leaf, "-passout", "pass:", "-iter", "1000000"}));
    const Bytes million = {0x02, 0x03, 0x0F, 0x42, 0x40};
    *(std::search(costly.begin(), costly.end(), million.begin(), million.end()) + 2) = 0x7F;
    struct Row {
        std::string path;
        const char* words;
    };
    for (const Row& row : {Row{archive("locked", {"-passout", "pass:1"}),
                               "by a password; take the certificates out with: openssl pkcs12 -nokeys"},
                           Row{archive("old", {"-passout", "pass:", "-legacy"}), "openssl pkcs12 -legacy"},
                           Row{tallow.file("costly", costly), "too much work"},
                           Row{made("keys", {"pkcs12", "-export", "-nocerts", "-inkey", key, "-passout", "pass:"}),
                               "without certificates"},
                           Row{tallow.file("two", twice), "more octets after a container"},
                           Row{tallow.file("cut", Bytes(p12.begin(), p12.end() - 9)), "not a certificate"}}) {
        const ProcessResult run = tallow.check({"--json", row.path});
        EXPECT_EQ(run.exitStatus, kExitNoAnswer);
        EXPECT_THAT(run.err, HasSubstr(row.words));
    }
}

}  // namespace
