// JSON documents of all commands, held against the schemas that are installed with them, and the form of --jsonl.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/cli/command.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Schema = CommandTest;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST_F(Schema, DescribesEveryDocument) {
    const std::string revoked = tallow.file("revoked.pem", certs().revoked);
    const std::string broken = tallow.file("broken.pem", std::string("no certificate"));
    const std::string crl = tallow.file("root.crl", makeCrl(certs().root, {}));
    const HttpServer redirecting = serverOf(redirectTo(responderUrl()));
    const std::string stored = tallow.file("stored.der", buildResponse(goodResponse()));
    ASSERT_EQ(tallow.with({"store", "add", "CA", crl}).exitStatus, 0);
    ASSERT_EQ(tallow.with({"store", "add", "CA", root}).exitStatus, 0);
    ASSERT_EQ(tallow.check({"--url", responderUrl(), "--save-request", request, "--save-response", response, leaf})
                  .exitStatus,
              0);
    struct Row {
        Arguments arguments;
        const char* schema;
        int exitStatus;
    };
    const Arguments trust{"--trust", root};
    const Arguments out{"--out", tallow.folder().path().string()};
    Arguments files;
    for (const Row& row : {
             Row{joined({"check", "--json", "--url", responderUrl(), "--save-request", "/dev/full", leaf}, trust),
                 "tallow.check/1", 3},
             Row{joined({"check", "--json", "--verify-chain", "--url", responderUrl(), leaf, revoked, broken}, trust),
                 "tallow.check/1", 1},
             Row{joined({"check", "--jsonl", "--url", redirecting.url(), leaf, broken}, trust), "tallow.check.line/1",
                 3},
             Row{joined({"check", "--json", "--no-nonce", "--url", responderUrl(), leaf}, trust), "tallow.check/1", 0},
             Row{joined({"check", "--json", "--url", deadUrl(), leaf}, trust), "tallow.check/1", 3},
             Row{{"check", "--json"}, "tallow.check/1", 64},
             Row{{"check", "--jsonl", "--crl", "missing", leaf}, "tallow.check.line/1", 64},
             Row{{"check", "--json", "--jsonl", leaf}, "tallow.check/1", 64},
             Row{{"sned", "--json"}, "tallow.error/1", 64},
             Row{joined({"verify", "--json", stored}, trust), "tallow.check/1", 0},
             Row{joined({"verify", "--jsonl", broken}, trust), "tallow.check.line/1", 3},
             Row{{"verify-request", "--json", request}, "tallow.verify-request/1", 2},
             Row{{"verify-request", "--json", broken}, "tallow.verify-request/1", 3},
             Row{{"show", "--json", request}, "tallow.show/1", 0},
             Row{{"show", "--json", response}, "tallow.show/1", 0},
             Row{{"show", "--json", leaf}, "tallow.show/1", 64},
             Row{{"store", "list", "--json", "CA"}, "tallow.store/1", 0},
             Row{joined(joined({"staple", "--json", "--url", responderUrl(), leaf, revoked, broken}, trust), out),
                 "tallow.staple/1", 1},
             Row{joined(joined({"staple", "--jsonl", "--if-due", "--url", deadUrl(), leaf, revoked}, trust), out),
                 "tallow.staple.line/1", 3},
             Row{{"staple", "--jsonl", leaf}, "tallow.staple.line/1", 64},
             Row{{"store", "list", "--json", ".."}, "tallow.store/1", 64},
             Row{{"settings", "--json"}, "tallow.settings/1", 0},
         }) {
        const bool isLines = std::string(row.schema).find(".line/") != std::string::npos;
        const bool hasSettings = row.arguments[0] != "show" && row.arguments[0] != "sned";
        const ProcessResult run = hasSettings ? tallow.with(row.arguments) : Command::plain(row.arguments);
        SCOPED_TRACE(testing::PrintToString(row.arguments) + run.out + run.err);
        EXPECT_EQ(run.exitStatus, row.exitStatus);
        EXPECT_THAT(run.out, HasSubstr(std::string("\"schema\":") + (isLines ? "" : " ") + '"' + row.schema + '"'));
        EXPECT_EQ(row.exitStatus == 64, run.out.find("exitStatus") != std::string::npos);
        EXPECT_EQ(numLines(run.err) == 0, row.exitStatus == 0 || row.exitStatus == 2);
        files.push_back(tallow.file(std::to_string(files.size()) + (isLines ? ".jsonl" : ".json"), run.out));
    }
    const ProcessResult all = validateJson(files);
    EXPECT_EQ(all.exitStatus, 0) << all.out << all.err;
    // A document with one more member, so that the schemas are known to be strict.
    const std::string odd = linesOf(tallow.check({"--jsonl", "--url", responderUrl(), leaf}).out).at(0);
    EXPECT_EQ(validateJson({tallow.file("odd.jsonl", "{\"more\":1," + odd.substr(1))}).exitStatus, 1);
}

TEST_F(Schema, OfALineIsPrintedForEachCertificateAsSoonAsItIsDone) {
    const std::string output = tallow.folder().file("output");
    std::string seen;
    // The second responder sees what was printed about the first certificate.
    const HttpServer second([&](const HttpRequest&) {
        std::ifstream file(output);
        seen.assign(std::istreambuf_iterator<char>(file), {});
        return HttpReply{.status = 500};
    });
    const std::string command = std::string(TALLOW_COMMAND) + " check --jsonl --settings " +
                                tallow.folder().file("settings.toml") + " --trust " + root + " " +
                                tallow.file("a.pem", leafWith({deadUrl()})) + " " +
                                tallow.file("b.pem", leafWith({second.url()})) + " >" + output;
    EXPECT_EQ(run({"sh", "-c", command}).exitStatus, 3);
    EXPECT_EQ(numLines(seen), 1U);
    EXPECT_THAT(seen, AllOf(StartsWith("{\"schema\":\"tallow.check.line/1\",\"file\":"), HasSubstr("a.pem"),
                            Not(HasSubstr("b.pem"))));
}

}  // namespace
