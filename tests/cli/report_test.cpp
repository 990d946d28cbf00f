// `check --report`: what the page says, and what happens to the file. report_page.py looks at it in a browser.
#include "cli/report/report.h"

#include "cli/report/periods.h"
#include "tests/cli/command.h"

namespace {

using namespace testkit;
using namespace std::chrono_literals;
using namespace tallow::cli;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const Seconds kNow(1'800'000'000s);

CheckResult resultOf(CertificateState state, std::size_t line = 0) {
    CheckResult result;
    result.file = "file" + std::to_string(line);
    result.line = line;
    result.state = state;
    if (state == CertificateState::kError) {
        result.error = CheckError{-1, "no answer"};
    }
    return result;
}

std::string pageOf(const std::vector<CheckResult>& results, const ReportRun& run = {}) {
    Report report("");
    for (const CheckResult& result : results) {
        report.add(result, kNow);
    }
    return report.page(run);
}

TEST(HtmlWriter, EscapesEverythingButLiterals) {
    HtmlWriter html;
    html.raw("<b>").text("<&>\"'\x1B\xE2\x80\xAE\xFF").raw("</b>").percent(12.34).percent(-1).percent(1e9);
    EXPECT_EQ(html.html(), "<b>&lt;&amp;&gt;&quot;&#39;\\u{1B}\\u{202E}\xEF\xBF\xBD</b>12.3%0.0%100.0%");
}

TEST(Report, NeverMakesAFailureLookGood) {
    using enum CertificateState;
    CheckResult withBadStaple = resultOf(kGood);
    withBadStaple.staple = Staple{"missing", "it sent none", true};
    CheckResult unsaved = resultOf(kGood);
    unsaved.unsaved = CheckError{-1, "disk full"};
    struct Row {
        CheckResult result;
        ReportRun run;
        const char* summary;  // its class
        const char* row;
        const char* words;
    };
    for (const Row& row : {
             Row{resultOf(kGood), {}, "good", "good", "<li>The certificate is good</li>"},
             Row{resultOf(kGood), {{}, {}, 3, false, "line 2"}, "unproven", "good", "not complete: line 2</li></ul>"},
             Row{resultOf(kRevoked), {}, "revoked", "revoked", "<li>1 of 1 certificate is revoked</li>"},
             Row{resultOf(kUnknown), {}, "unknown", "unknown", "<li>1 of 1 certificate is unknown to its responder"},
             Row{resultOf(kError),
                 {},
                 "unproven",
                 "unproven",
                 "<span class=\"unseen\"> of file0</span>: <span>no answer</span>"},
             Row{withBadStaple, {}, "flawed", "flawed", "good, but staple missing</span>"},
             Row{unsaved, {}, "flawed", "flawed", ": <span>disk full</span>"},
             Row{resultOf(kGood), {{}, {}, 2, true, ""}, "unproven", "good", "state of the monitoring is critical"},
             Row{resultOf(kGood), {{}, {}, 3, false, ""}, "unproven", "good", "but a result could not be written"},
         }) {
        const std::string page = pageOf({row.result}, row.run);
        EXPECT_THAT(page, AllOf(HasSubstr(std::string("<div class=\"summary ") + row.summary + '"'),
                                HasSubstr(std::string("<tbody class=\"") + row.row + '"'), HasSubstr(row.words)));
        const bool isGood = std::string_view(row.summary) == "good";
        EXPECT_EQ(page.find("certificate is good</li>") != std::string::npos, isGood) << row.words;
    }
    EXPECT_THAT(pageOf({}), AllOf(HasSubstr("Nothing was checked"), HasSubstr("summary unproven\"")));
}

TEST(Report, KeepsTheOrderOfAListAndCountsWhatItDoesNotShow) {
    const std::string page = pageOf({resultOf(CertificateState::kGood, 30), resultOf(CertificateState::kError, 4)});
    EXPECT_LT(page.find(">file4<span class=\"line\">line 4</span></td>"), page.find(">file30<"));
    std::vector<CheckResult> many(Report::kMostRows + 2, resultOf(CertificateState::kGood));
    many.push_back(resultOf(CertificateState::kRevoked, 7));  // has a row, however many good ones came before
    EXPECT_THAT(pageOf(many), AllOf(HasSubstr("<p class=\"notice\">2 certificates"), HasSubstr("1 of 10003 cert"),
                                    HasSubstr(">file7<"), HasSubstr(">10001</td>")));
}

TEST(Timeline, SaysInWordsWhatIsOverOrHasNotBegun) {
    struct Row {
        Period period;
        const char* words;
    };
    for (const Row& row : {
             Row{{"a", kNow - 1h, kNow + 49h}, "2 d 1 h left"},
             Row{{"a", kNow - 1h, std::nullopt}, "no end stated"},
             Row{{"a", kNow - 5h, kNow - 1h}, "<span class=\"past\">expired 1 h before</span>"},
             Row{{"a", kNow + 1h, kNow + 2h}, "<span class=\"past\">begins 1 h later</span>"},
             Row{{"a", kNow + 2h, kNow + 1h}, "<span class=\"past\">never valid</span>"},
         }) {
        HtmlWriter html;
        addTimeline(html, {row.period}, kNow);
        EXPECT_THAT(html.html(), HasSubstr(row.words));
    }
}

class ReportCommand : public CommandTest {
protected:
    std::string page() const {
        const Bytes octets = readFile(path);
        return {octets.begin(), octets.end()};
    }
    const std::string path = tallow.folder().file("report.html");
    const std::string dead = tallow.file("dead.pem", leafWith({deadUrl()}));
};

TEST_F(ReportCommand, GoesWithEveryOtherOutputWhateverTheResult) {
    const std::string revoked = tallow.file("revoked.pem", certs().revoked);
    const std::string list = tallow.file("list", leaf + '\n' + revoked + "\nmissing.pem\n");
    const std::string metrics = tallow.folder().file("metrics");
    struct Row {
        Arguments arguments;
        int exitStatus;
        const char* words;
    };
    for (const Row& row : {
             Row{{"--url", responderUrl(), "--json", leaf}, 0, "<dd>0: all are good</dd>"},
             Row{{"--url", responderUrl(), "--metrics", metrics, leaf, revoked}, 1, "1 of 2 certificates is revoked"},
             Row{{"--url", responderUrl(), "--verify-chain", leaf}, 0, "<li class=\"fine\">chain: passed</li>"},
             Row{{dead}, 3, "<li class=\"bad\">exchange: failed</li>"},
             Row{{"--url", responderUrl(), "--monitor", leaf}, 0, "<dd>0: OK</dd>"},
             Row{{"--url", responderUrl(), "--jsonl", "--from-file", list}, 1, "1 of 3 certificates is not proven"},
         }) {
        const ProcessResult run = tallow.check(joined({"--report", path}, row.arguments));
        EXPECT_EQ(run.exitStatus, row.exitStatus) << run.err;
        EXPECT_THAT(page(), HasSubstr(row.words));
    }
    // A monitoring system that does not get the line.
    const std::string full = " --settings " + tallow.folder().file("settings.toml") + " --trust " + root + " --url " +
                             responderUrl() + " --report " + path + " --warn 9d --crit ";
    for (const auto& [limit, exitStatus] : {std::pair("1s", 3), std::pair("8d", 2)}) {
        const std::string script =
            std::string(TALLOW_COMMAND) + " check --monitor " + leaf + full + limit + " >/dev/full";
        EXPECT_EQ(run({"sh", "-c", script}).exitStatus, exitStatus);
        EXPECT_THAT(page(), AllOf(HasSubstr("not complete: the result could not be printed"),
                                  HasSubstr("<dd>" + std::to_string(exitStatus) + ": ")));
    }
    // Standard output may be the file; the result is then on standard error.
    const ProcessResult piped = tallow.check({"--report", "-", dead});
    EXPECT_THAT(piped.out, AllOf(testing::StartsWith("<!DOCTYPE html>"), Not(HasSubstr("dead.pem: error"))));
}

TEST_F(ReportCommand, LosesNothingWhenTheFileCannotBeWritten) {
    const std::string revoked = tallow.file("revoked.pem", certs().revoked);
    tallow.file("report.html", std::string("the old one"));
    EXPECT_EQ(tallow.check({"--report", path, "--crl", "missing", leaf}).exitStatus, 64);
    EXPECT_EQ(page(), "the old one");
    expectMistake(tallow.check({"--report", "/nowhere/x", leaf}), "/nowhere/x: cannot be written");
    expectOneLine(tallow.check({"--report", "/dev/full", "--url", responderUrl(), leaf}), 3, {"/dev/full"});
    EXPECT_EQ(tallow.check({"--report", "/dev/full", "--url", responderUrl(), leaf, revoked}).exitStatus, 1);
    for (const Mistake& row :
         {Mistake{{"--report", "x", "--metrics", "x", leaf}, "name the same file"},
          Mistake{{"--report", "x", "--resume", "y", "--from-file", "list"}, "--resume goes with none of --monitor"}}) {
        expectMistake(tallow.check(row.arguments), row.words);
    }
}

}  // namespace
