// Output and exit status of `check` with healthy responders.
#include "tests/cli/command.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Key;
using testing::MatchesRegex;
using testing::Not;
using testing::Pair;
using testing::StartsWith;
using Verdict = CommandTest;

constexpr const char* kIso8601 = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z";

TEST_F(Verdict, IsPrintedFirstAndDecidesTheExitStatus) {
    struct Row {
        const char* name;
        const Identity& certificate;
        const char* verdict;
        int exitStatus;
    };
    for (const Row& row :
         {Row{"good.pem", certs().good, ": good\n", 0}, Row{"revoked.pem", certs().revoked, ": revoked since ", 1},
          Row{"unknown.pem", certs().unknown, ": unknown\n", 2}}) {
        SCOPED_TRACE(row.name);
        const std::string file = tallow.file(row.name, row.certificate);
        const ProcessResult run = tallow.check({"--url", responderUrl(), file});
        EXPECT_EQ(run.exitStatus, row.exitStatus);
        EXPECT_THAT(run.out, StartsWith(file + row.verdict));
        EXPECT_THAT(run.out, AllOf(HasSubstr("responder:    " + responderUrl()), HasSubstr("this update:")));
        EXPECT_EQ(run.err, "");
    }
}

TEST_F(Verdict, OfAListIsTheMostSevere) {
    const std::string good = tallow.file("good.pem", certs().good);
    const std::string revoked = tallow.file("revoked.pem", certs().revoked);
    const std::string unknown = tallow.file("unknown.pem", certs().unknown);
    const std::string broken = tallow.file("broken.pem", std::string("no certificate"));
    struct Row {
        std::vector<std::string> files;
        int exitStatus;
    };
    for (const Row& row : {Row{{good, good}, 0}, Row{{good, unknown}, 2}, Row{{unknown, broken, good}, 3},
                           Row{{broken, unknown, revoked, good}, 1}}) {
        SCOPED_TRACE(row.exitStatus);
        std::vector<std::string> arguments{"--json", "--url", responderUrl()};
        arguments.insert(arguments.end(), row.files.begin(), row.files.end());
        const ProcessResult run = tallow.check(arguments);
        EXPECT_EQ(run.exitStatus, row.exitStatus);
        const auto results = parseResults(run.out);
        ASSERT_EQ(results.size(), row.files.size());
        for (std::size_t i = 0; i < results.size(); ++i) {
            EXPECT_EQ(results[i].at("file"), row.files[i]);
        }
    }
}

TEST_F(Verdict, AsJsonHasTheFieldsThatApply) {
    const ProcessResult run = tallow.check({"--json", "--url", responderUrl(), tallow.file("good", certs().good),
                                            tallow.file("revoked", certs().revoked), tallow.folder().file("none")});
    EXPECT_EQ(run.exitStatus, 1);
    auto results = parseResults(run.out);
    ASSERT_EQ(results.size(), 3U);
    const auto isSerial = testing::StrCaseEq(toHex(certs().good.serial()));
    for (const auto& [field, value] :
         std::map<std::string, testing::Matcher<const std::string&>>{{"nextUpdate", MatchesRegex(kIso8601)},
                                                                     {"producedAt", MatchesRegex(kIso8601)},
                                                                     {"thisUpdate", MatchesRegex(kIso8601)},
                                                                     {"nonce", "matched"},
                                                                     {"responder", responderUrl()},
                                                                     {"serial", isSerial},
                                                                     {"status", "good"},
                                                                     {"subject", "CN=good"},
                                                                     {"freshness.basis", "nonce"},
                                                                     {"certID.hashAlgorithm", "1.3.14.3.2.26"},
                                                                     {"certID.serialNumber", isSerial},
                                                                     {"signer.name", "CN=responder"},
                                                                     {"signer.authority", "delegate"},
                                                                     {"attempts.0.url", responderUrl()},
                                                                     {"attempts.0.source", "option"},
                                                                     {"attempts.0.step", "proven"},
                                                                     {"attempts.0.status", "accepted"},
                                                                     {"attempts.0.httpStatus", "200"}}) {
        EXPECT_THAT(results[0][field], value) << field;
    }
    EXPECT_EQ(results[1].at("status"), "revoked");
    EXPECT_THAT(results[1].at("revocationTime"), MatchesRegex(kIso8601));
    EXPECT_EQ(results[1].at("revocationReason"), "keyCompromise");
    EXPECT_THAT(results[2], ElementsAre(Pair("error.code", "0x80070002"), Pair("error.text", HasSubstr("opened")),
                                        Pair("file", EndsWith("none")), Pair("status", "error")));
}

// Nothing that a person or a program could take for more than was proven.
TEST_F(Verdict, SaysInItsLastLineWhatItIsBasedOn) {
    struct Row {
        Arguments arguments;
        const Identity& certificate;
        const char* words;  // of the last line
    };
    const std::string crl = tallow.file("root.crl", makeCrl(certs().root, {}));
    for (const Row& row :
         {Row{{},
              certs().good,
              "nonce matched., signed by a delegate of the issuer; the certificate's chain was not validated "
              ".--verify-chain."},
          Row{{"--no-nonce"},
              certs().good,
              "dates of a response .[0-9TZ:-]+ to [0-9TZ:-]+, perhaps not the latest., s"},
          Row{{"--verify-chain", "--crl", crl}, certs().good, "the certificate's chain is valid"},
          Row{{}, certs().revoked, "nonce matched"}}) {
        const ProcessResult run =
            tallow.check(joined(row.arguments, {"--url", responderUrl(), tallow.file("leaf.pem", row.certificate)}));
        const std::size_t last = run.out.rfind('\n', run.out.size() - 2) + 1;
        EXPECT_THAT(run.out.substr(last), testing::ContainsRegex(row.words)) << run.err;
        EXPECT_EQ(run.out.find("    based on:     "), last);
    }
}

TEST_F(Verdict, IsColouredOnlyWhereThatIsWanted) {
    const std::string prefix = std::string(TALLOW_COMMAND) + " check --settings " +
                               tallow.folder().file("settings.toml") + " --trust " + root + " --url " + responderUrl() +
                               " " + leaf + " ";
    // The command `script` gives it a terminal.
    const auto onTerminal = [&prefix](const std::string& environment, const std::string& options) {
        return testkit::run({"script", "-qec", environment + " " + prefix + options, "/dev/null"}).out;
    };
    constexpr const char* kGreen = ": \x1B[32mgood\x1B[0m";
    EXPECT_THAT(testkit::run({"sh", "-c", prefix + "--color always"}).out, HasSubstr(kGreen));
    EXPECT_THAT(testkit::run({"sh", "-c", prefix}).out, Not(HasSubstr("\x1B")));
    EXPECT_THAT(testkit::run({"sh", "-c", prefix + "--json --color always"}).out, Not(HasSubstr("\x1B")));
    if (testkit::run({"script", "-qec", "true", "/dev/null"}).exitStatus != 0) {
        GTEST_SKIP() << "this system offers no terminals";
    }
    EXPECT_THAT(onTerminal("NO_COLOR= TERM=xterm", ""), HasSubstr(kGreen));
    for (const auto& [environment, options] : {std::pair("NO_COLOR=1 TERM=xterm", ""), std::pair("TERM=dumb", ""),
                                               std::pair("TERM=xterm", "--color never")}) {
        EXPECT_THAT(onTerminal(environment, options), AllOf(HasSubstr(": good"), Not(HasSubstr("\x1B"))))
            << environment;
    }
}

TEST_F(Verdict, IsExplainedOnRequest) {
    const ProcessResult quiet = tallow.check({"--url", responderUrl(), leaf});
    const ProcessResult run = tallow.check({"-v", "--url", responderUrl(), leaf});
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')), quiet.out.substr(0, quiet.out.find('\n')));
    for (const std::string& words :
         {"asked:         " + responderUrl() + " (named with --url): accepted, HTTP 200",
          std::string("its issuer by sha1, nonce "),
          std::string("signer:        CN=responder, the issuer named it as its responder"),
          std::string("nonce:         matched"), std::string("not checked:   the certificate's own dates")}) {
        EXPECT_THAT(run.err, HasSubstr(words));
    }
    const ProcessResult failed = tallow.check({"-v", "--url", deadUrl(), leaf});
    EXPECT_THAT(failed.err, AllOf(HasSubstr(": failed"), HasSubstr("stopped at:    exchange")));
    EXPECT_LT(numLines(tallow.check({"--trace", "--url", responderUrl(), leaf}).err), 100U);
}

// A result that was not written must not end with success.
TEST_F(Verdict, IsNotGoodWhenItCannotBeWritten) {
    for (const auto& [certificate, exitStatus] : {std::pair(certs().good, 3), std::pair(certs().revoked, 1)}) {
        const std::string command = std::string(TALLOW_COMMAND) + " check --settings " +
                                    tallow.folder().file("settings.toml") + " --trust " +
                                    tallow.folder().file("trusted-root.pem") + " --url " + responderUrl() + " " +
                                    tallow.file("leaf.pem", certificate) + " >";
        for (const char* nowhere : {"/dev/full", "&-"}) {
            const ProcessResult run = testkit::run({"sh", "-c", command + nowhere});
            EXPECT_EQ(run.exitStatus, exitStatus);
            EXPECT_THAT(run.err, HasSubstr("standard output"));
        }
    }
}

}  // namespace
