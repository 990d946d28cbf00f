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

TEST_F(Verdict, AsJsonHasExactlyTheFieldsThatApply) {
    const ProcessResult run = tallow.check({"--json", "--url", responderUrl(), tallow.file("good", certs().good),
                                            tallow.file("revoked", certs().revoked), tallow.folder().file("none")});
    EXPECT_EQ(run.exitStatus, 1);
    const auto results = parseResults(run.out);
    ASSERT_EQ(results.size(), 3U);
    EXPECT_THAT(results[0],
                ElementsAre(Key("file"), Pair("nextUpdate", MatchesRegex(kIso8601)), Pair("nonce", "matched"),
                            Pair("producedAt", MatchesRegex(kIso8601)), Pair("responder", responderUrl()),
                            Pair("serial", testing::StrCaseEq(toHex(certs().good.serial()))), Pair("status", "good"),
                            Pair("subject", HasSubstr("good")), Pair("thisUpdate", MatchesRegex(kIso8601))));
    EXPECT_EQ(results[1].at("status"), "revoked");
    EXPECT_THAT(results[1].at("revocationTime"), MatchesRegex(kIso8601));
    EXPECT_EQ(results[1].at("revocationReason"), "keyCompromise");
    EXPECT_THAT(results[2], ElementsAre(Pair("error.code", "0x80070002"), Pair("error.text", HasSubstr("opened")),
                                        Pair("file", EndsWith("none")), Pair("status", "error")));
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
