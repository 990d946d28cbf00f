// Responders that cannot be reached, give no OCSP answer, or one that is not trusted: never a verdict, always one line
// that names the responder, the step, and a remedy.
#include <gmock/gmock.h>

#include "tests/cli/command.h"
#include "tests/cli/json_result.h"

namespace {

using namespace testkit;
using testing::HasSubstr;

constexpr int kExitNoAnswer = 3;

// One line on standard error with these words, "error" and nothing else in the result, exit status 3.
void expectFailure(const ProcessResult& run, const std::string& code, const std::vector<std::string>& words) {
    expectOneLine(run, kExitNoAnswer, joined({code}, words));
    const auto results = parseResults(run.out);
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].at("status"), "error");
    EXPECT_EQ(results[0].at("error.code"), code);
    EXPECT_EQ(results[0].count("producedAt"), 0U);
}

Bytes changed(void (*change)(ResponseSpec&)) {
    ResponseSpec spec = goodResponse();
    change(spec);
    return buildResponse(spec);
}

std::string deadUrl() {
    return "http://127.0.0.1:" + std::to_string(closedPort()) + "/";
}

TEST(CheckErrors, NameResponderAndStep) {
    const Command tallow;
    const std::string leaf = tallow.file("leaf.pem", certs().good);
    ResponseSpec withoutUsage = goodResponse();
    withoutUsage.signer = leafWith({});
    struct Row {
        const char* name;
        HttpReply reply;
        const char* code;
        const char* step;
    };
    const Bytes good = buildResponse(goodResponse());
    for (const Row& row : {
             Row{"server error", {.status = 500}, "0xC2110100", "answered with HTTP status 500; "},
             Row{"not found", {.status = 404, .body = good}, "0xC2110100", "answered with HTTP status 404; "},
             Row{"empty body", {}, "0x80093101", "decoding: "},
             Row{"cut in DER", {.body = Bytes(good.begin(), good.end() - 9)}, "0x80093101", "decoding: "},
             Row{"cut in HTTP", {.body = good, .cutBodyAfter = 40}, "0xC2110100", "gave no usable answer: "},
             Row{"too long",
                 {.body = good, .framing = BodyFraming::kChunked, .padBodyTo = 8U << 20},
                 "0xC2110100",
                 "gave no usable answer: "},
             Row{"endless redirect", redirectTo("/again"), "0xC2110100", "gave no usable answer: "},
             Row{"signer without the usage", {.body = buildResponse(withoutUsage)}, "0x800B0110", "verification: "},
             Row{"signer withheld",
                 {.body = changed([](auto& spec) { spec.includeSigner = false; })},
                 "0x80092004",
                 "(--certs)"},
             Row{"other certificate",
                 {.body = changed([](auto& spec) { spec.entries[0].id.serial = {1}; })},
                 "0xC2110125",
                 "verification: "},
             Row{"produced an hour ago",
                 {.body = changed([](auto& s) { s.producedAt = generalizedTimeText(-3600); })},
                 "0xC2110122",
                 "time of production: "},
             Row{"nonce without request",
                 {.body = changed([](auto& spec) { spec.extensions = {nonceExtension(Bytes(8))}; })},
                 "0xC2110120",
                 "decoding: "},
         }) {
        SCOPED_TRACE(row.name);
        const HttpServer server = serverOf(row.reply);
        expectFailure(tallow.check({"--json", "--no-nonce", "--url", server.url(), leaf}), row.code,
                      {server.url(), row.step});
    }
}

TEST(CheckErrors, DistinguishUnreachableRespondersFromNoneKnown) {
    const Command tallow;
    const std::string dead = deadUrl();
    const std::string second = deadUrl() + "second";
    expectFailure(tallow.check({"--json", tallow.file("none.pem", certs().good)}), "0xC2110121",
                  {"choosing a responder", "no responder is known", "--url"});
    expectFailure(tallow.check({"--json", tallow.file("one.pem", leafWith({dead}))}), "0xC2110100",
                  {dead + ": could not be reached: "});
    expectFailure(tallow.check({"--json", tallow.file("two.pem", leafWith({dead, second}))}), "0xC2110100",
                  {"none of 2 responders could be reached", dead + ": ", second + ": "});
    expectFailure(Command("max_responders = 1\n").check({"--json", tallow.file("two.pem", leafWith({dead, second}))}),
                  "0xC2110100", {"the only responder asked", dead + ": ", "1 more not asked: ", "max_responders"});
    expectFailure(tallow.check({"--json", "--url", "http://no-such-host.invalid/", tallow.file("x", certs().good)}),
                  "0xC2110100", {"http://no-such-host.invalid/", "could not be reached: the name is not known"});
    expectFailure(tallow.check({"--json", "--url", "ftp://127.0.0.1/", tallow.file("x", certs().good)}), "0xC2110100",
                  {"ftp://127.0.0.1/"});
}

TEST(CheckErrors, ReportAWrongClockOfTheResponder) {
    const Command tallow;
    const std::string leaf = tallow.file("leaf.pem", certs().good);
    for (const char* clock : {"-2h", "+20d"}) {
        SCOPED_TRACE(clock);
        ResponderOptions options = responderOptions();
        options.clock = clock;
        const Responder responder(options);
        expectFailure(tallow.check({"--json", "--no-nonce", "--url", responder.url(), leaf}), "0xC2110122",
                      {responder.url(), "time of production: ", "clock"});
        // A nonce proves that the response is new, not that what it says is current.
        expectOneLine(tallow.check({"--nonce", "--url", responder.url(), leaf}), kExitNoAnswer, {"clock"});
    }
}

// The attempt that came closest to an answer decides the code, and all are named.
TEST(CheckErrors, NameAllRespondersThatWereAsked) {
    const Command tallow;
    const HttpServer broken = serverOf(HttpReply{.status = 500});
    const HttpServer babble = serverOf(HttpReply{.body = bytesOf("babble")});
    const std::string dead = deadUrl();
    const Identity leaf = leafWith({dead, babble.url(), broken.url()});
    expectFailure(tallow.check({"--json", tallow.file("leaf.pem", leaf)}), "0x80093101",
                  {"no responder gave an answer to trust", dead + ": could not be reached: ",
                   babble.url() + ": decoding: ", broken.url() + ": answered with HTTP status 500; "});
}

TEST(Check, AsksRespondersUntilOneDecides) {
    const Command tallow;
    const Identity* asked = nullptr;
    const auto answer = [&asked](EntryStatus status) {
        return [&asked, status](const HttpRequest&) {
            return HttpReply{.body = buildResponse(responseAbout(*asked, status))};
        };
    };
    const HttpServer good(answer(EntryStatus::kGood));
    const HttpServer revoked(answer(EntryStatus::kRevoked));
    const HttpServer unknown(answer(EntryStatus::kUnknown));
    struct Row {
        std::vector<std::string> responders;
        int exitStatus;
        std::string decided;
    };
    for (const Row& row :
         {Row{{deadUrl(), good.url()}, 0, good.url()}, Row{{revoked.url(), good.url()}, 1, revoked.url()},
          Row{{unknown.url(), revoked.url()}, 1, revoked.url()}, Row{{unknown.url(), good.url()}, 0, good.url()},
          Row{{unknown.url(), deadUrl()}, 2, unknown.url()}}) {
        const Identity leaf = leafWith(row.responders);
        asked = &leaf;
        const ProcessResult run = tallow.check({"--json", "--no-nonce", tallow.file("leaf.pem", leaf)});
        EXPECT_EQ(run.exitStatus, row.exitStatus) << run.out << run.err;
        EXPECT_EQ(parseResults(run.out).at(0).at("responder"), row.decided);
    }
}

}  // namespace
