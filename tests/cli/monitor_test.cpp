// `check --monitor` and `--metrics`: the state of each result, the line, and the file for Prometheus.
#include "cli/monitor.h"

#include <fstream>
#include <sstream>

#include "tests/cli/command.h"

namespace {

using namespace testkit;
using namespace std::chrono_literals;
using tallow::cli::CertificateState;
using tallow::cli::CheckError;
using tallow::cli::CheckOptions;
using tallow::cli::CheckResult;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

const tallow::cli::Seconds kNow(1'800'000'000s);

CheckResult resultOf(CertificateState state, std::chrono::seconds untilExpiry = 1000h) {
    CheckResult result;
    result.file = "a|b.pem";
    result.state = state;
    result.expiry = kNow + untilExpiry;
    result.verdict.answer = state == CertificateState::kGood ? tallow::Answer::kGood : tallow::Answer::kUnproven;
    result.verdict.nextUpdate = kNow + 40h;
    return result;
}

CheckResult withError(const char* chain) {
    CheckResult result = resultOf(CertificateState::kError);
    result.error = CheckError{-1, "no answer"};
    result.chain = chain;
    return result;
}

CheckResult withStaple(const char* state, bool isRequired) {
    CheckResult result = resultOf(CertificateState::kGood);
    result.staple = tallow::cli::Staple{state, "the cause", isRequired};
    return result;
}

tallow::cli::Outcome outcomeOf(const std::vector<CheckResult>& results) {
    CheckOptions options;
    options.warn = 24h;
    options.critical = 2h;
    tallow::cli::Monitor monitor(options, kNow);
    for (const CheckResult& result : results) {
        monitor.add(result);
    }
    return monitor.finish();
}

TEST(Monitor, ReportsTheWorstStateAndItsCause) {
    using enum CertificateState;
    const CheckResult good = resultOf(kGood);
    CheckResult stapled = withStaple("good", false);
    stapled.staple->nextUpdate = kNow + 90min;
    CheckResult unsaved = good;
    unsaved.unsaved = CheckError{-1, "file: is full"};
    struct Row {
        std::vector<CheckResult> results;
        int exitStatus;
        const char* begin;
    };
    for (const Row& row : {
             Row{{good}, 0, "OCSP OK - a/b.pem is good |"},
             Row{{good, good}, 0, "OCSP OK - 2 certificates are good |"},
             Row{{}, 3, "OCSP UNKNOWN - nothing was checked |"},
             Row{{good, resultOf(kRevoked)}, 2, "OCSP CRITICAL - a/b.pem is revoked since "},
             Row{{good, resultOf(kUnknown)}, 2, "OCSP CRITICAL - a/b.pem is unknown to its responder |"},
             Row{{good, withError("")}, 3, "OCSP UNKNOWN - a/b.pem is not proven good: no answer |"},
             Row{{withError("invalid")}, 2, "OCSP CRITICAL - a/b.pem is not proven good: no answer |"},
             Row{{resultOf(kGood, 24h)}, 0, "OCSP OK"},
             Row{{resultOf(kGood, 23h + 59min)}, 1, "OCSP WARNING - a/b.pem: the certificate expires in 23 h 59 min |"},
             Row{{resultOf(kGood, 90min)}, 2, "OCSP CRITICAL - a/b.pem: the certificate expires in 1 h 30 min |"},
             Row{{resultOf(kGood, -1s)}, 2, "OCSP CRITICAL - a/b.pem: the certificate expired |"},
             Row{{withError(""), resultOf(kGood, 3h)}, 3, "OCSP UNKNOWN - a/b.pem is not proven good: no answer; a/b"},
             Row{{withStaple("missing", true)}, 2, "OCSP CRITICAL - a/b.pem: staple: the cause |"},
             Row{{withStaple("revoked", false)}, 2, "OCSP CRITICAL - a/b.pem: staple: the cause |"},
             Row{{withStaple("missing", false)}, 0, "OCSP OK"},
             Row{{stapled}, 2, "OCSP CRITICAL - a/b.pem: the stapled response expires in 1 h 30 min |"},
             Row{{unsaved}, 3, "OCSP UNKNOWN - file: is full |"},
         }) {
        const tallow::cli::Outcome outcome = outcomeOf(row.results);
        EXPECT_EQ(outcome.exitStatus, row.exitStatus) << outcome.out;
        EXPECT_THAT(outcome.out, testing::StartsWith(row.begin));
        EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '|'), 1);
        EXPECT_EQ(numLines(outcome.out), 1U);
    }
    EXPECT_THAT(outcomeOf(std::vector(8, resultOf(kUnknown))).out, HasSubstr("; and 3 more |"));
    EXPECT_THAT(outcomeOf({good, resultOf(kGood, 25h)}).out,
                HasSubstr("| next_update=144000s;86400:;7200: certificate_expiry=90000s;86400:;7200: good=2;;;0 "
                          "revoked=0;;;0 unknown=0;;;0 error=0;;;0\n"));
}

class MonitorCommand : public CommandTest {
protected:
    std::string metrics() const {
        std::ifstream file(path);
        std::stringstream content;
        content << file.rdbuf();
        return content.str();
    }
    std::string listOf(const std::vector<std::string>& paths) const {
        std::string lines;
        for (const std::string& each : paths) {
            lines += each + '\n';
        }
        return tallow.file("list" + std::to_string(paths.size()), lines);
    }
    const std::string path = tallow.folder().file("tallow.prom");
};

TEST_F(MonitorCommand, FollowsTheProtocolWhateverFails) {
    const std::string revoked = tallow.file("revoked.pem", certs().revoked);
    struct Row {
        Arguments arguments;
        int exitStatus;
        const char* line;
    };
    for (const Row& row : {
             Row{{"--url", responderUrl(), leaf},
                 0,
                 "OCSP OK - .*leaf.pem is good . next_update=[23][0-9][0-9]s certificate_expiry=[0-9]+s "
                 "responder_expiry=[0-9]+s response_time=[0-9.]+s;;;0 good=1;;;0 .*\n"},
             Row{{"--url", responderUrl(), "--warn", "1h", leaf}, 1, "OCSP WARNING - .*: the response expires in .*\n"},
             Row{{"--url", responderUrl(), leaf, revoked}, 2, "OCSP CRITICAL - .*revoked.pem is revoked since .*\n"},
             Row{{"--url", deadUrl(), leaf}, 3, "OCSP UNKNOWN - .*refused.*\n"},
             Row{{"--crl", "missing", leaf}, 3, "OCSP UNKNOWN - missing: .*\n"},
             Row{{"--url", responderUrl(), "--from-file", listOf({leaf, leaf})},
                 0,
                 "OCSP OK - 2 certificates are good.*\n"},
             Row{{"--url", responderUrl(), "--from-file", listOf({leaf, "missing", revoked})},
                 2,
                 "OCSP CRITICAL - .*\n"},
             Row{{"--from-file", listOf({"missing"})}, 3, "OCSP UNKNOWN - .*missing.*\n"},
             Row{{"--from-file", listOf({})}, 3, "OCSP UNKNOWN - .*names no certificate.*\n"},
             Row{{"--sned", leaf}, 3, "OCSP UNKNOWN - unknown option --sned.*\n"},
             Row{{"--warn", "1h", "--crit", "2h", leaf}, 3, "OCSP UNKNOWN - --warn is shorter than --crit.*\n"},
             Row{{"--metrics", "/nowhere/x", leaf}, 3, "OCSP UNKNOWN - /nowhere/x: cannot be written.*\n"},
             Row{{"--url", responderUrl(), "--metrics", "/dev/full", leaf}, 3, "OCSP UNKNOWN - /dev/full: .*\n"},
             Row{{"--url", responderUrl(), "--metrics", "/dev/full", revoked}, 2, "OCSP CRITICAL - .*\n"},
         }) {
        const ProcessResult run = tallow.check(joined({"--monitor"}, row.arguments));
        EXPECT_EQ(run.exitStatus, row.exitStatus) << run.out << run.err;
        EXPECT_THAT(run.out, MatchesRegex(row.line));
        EXPECT_EQ(numLines(run.out), 1U);
    }
    for (const Mistake& row :
         {Mistake{{"--warn", "1h", leaf}, "--monitor"}, Mistake{{"--crit", "1h", leaf}, "--monitor"},
          Mistake{{"--metrics", "x", "--resume", "y", "--from-file", "list"}, "--resume"},
          Mistake{{"--metrics", "x", "--save-response", "x", leaf}, "name the same file"}}) {
        expectMistake(tallow.check(row.arguments), row.words);
    }
}

TEST_F(MonitorCommand, WritesMetricsInWhichAFailureIsNoZero) {
    const std::string odd = tallow.file("o\"d\\\n\xFF.pem", certs().good),
                      dead = tallow.file("d.pem", leafWith({deadUrl()}));
    EXPECT_EQ(tallow.check({"--metrics", path, "--url", responderUrl(), odd, leaf, leaf}).exitStatus, 0);
    const std::string good = metrics();
    std::istringstream lines(good);
    const char* const form =
        "# (HELP|TYPE) tallow_[a-z_]+ [^\n]+|"
        "tallow_[a-z_]+(\\{[a-z]+=\"([^\"\\\\\n]|\\\\\\\\|\\\\\")*\"(,status=\"[a-z ]+\")?\\})? [0-9.]+";
    for (std::string line; std::getline(lines, line);) {
        EXPECT_THAT(line, MatchesRegex(form));
    }
    const std::string label = "{certificate=\"" + leaf + "\"";
    EXPECT_THAT(good, AllOf(HasSubstr("tallow_certificate_status" + label + ",status=\"good\"} 1\n"),
                            HasSubstr("tallow_certificate_status" + label + ",status=\"error\"} 0\n"),
                            HasSubstr("tallow_response_next_update_timestamp_seconds" + label + "} "),
                            HasSubstr("tallow_last_run_timestamp_seconds "), HasSubstr(R"(o\"d\\\\u{A})")));
    EXPECT_EQ(good.find(label + ",status=\"good\""), good.rfind(label + ",status=\"good\""));  // once
    EXPECT_EQ(
        tallow.check({"--metrics", path, "--url", responderUrl(), "--from-file", listOf({leaf, leaf})}).exitStatus, 0);
    EXPECT_THAT(metrics(),
                AllOf(HasSubstr(label + ",status=\"good\"} 1\n"), HasSubstr(leaf + " (2)\",status=\"good\"} 1")));
    EXPECT_EQ(tallow.check({"--metrics", path, "--url", responderUrl(), odd, leaf, leaf}).exitStatus, 0);
    const std::string before = metrics();
    // A run that cannot begin leaves the file, whose time of the last run then shows it.
    EXPECT_EQ(tallow.check({"--metrics", path, "--crl", "missing", leaf}).exitStatus, 64);
    EXPECT_EQ(metrics(), before);
    // Nor does one that does not reach the end of its list.
    const std::string piped = "echo " + leaf + " | " + TALLOW_COMMAND + " check --settings " +
                              tallow.folder().file("settings.toml") + " --metrics " + path + " --from-file - ";
    EXPECT_EQ(run({"sh", "-c", piped + ">/dev/full"}).exitStatus, 3);
    EXPECT_EQ(metrics(), before);
    EXPECT_EQ(tallow.check({"--metrics", path, dead}).exitStatus, 3);
    const std::string of = "{certificate=\"" + dead + "\"";
    EXPECT_THAT(metrics(), AllOf(HasSubstr(of + ",status=\"good\"} 0\n"), HasSubstr(of + ",status=\"error\"} 1\n"),
                                 HasSubstr("not_after_timestamp_seconds" + of), Not(HasSubstr("next_update")),
                                 Not(HasSubstr("duration")), Not(HasSubstr("responder"))));
    if (run({"sh", "-c", "command -v promtool"}).exitStatus == 0) {
        EXPECT_EQ(run({"sh", "-c", "promtool check metrics <" + path}).exitStatus, 0);
    }
}

}  // namespace
