// Responders that cannot be reached, answer nonsense, or answer what must not be believed: never a verdict, always one
// line that says who, at which step, and what to try.
#include <gmock/gmock.h>

#include <functional>

#include "tests/cli/command.h"
#include "tests/cli/json_result.h"
#include "tests/support/http_server.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr int kExitNoAnswer = 3;

// One line on standard error with these words, "error" and nothing else in the result, exit status 3.
void expectFailure(const ProcessResult& run, const std::string& code, const std::vector<std::string>& words) {
    SCOPED_TRACE(run.out + run.err);
    EXPECT_EQ(run.exitStatus, kExitNoAnswer);
    EXPECT_EQ(numLines(run.err), 1U);
    EXPECT_THAT(run.err, HasSubstr(code));
    for (const std::string& word : words) {
        EXPECT_THAT(run.err, HasSubstr(word));
    }
    const auto results = parseResults(run.out);
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].at("status"), "error");
    EXPECT_EQ(results[0].at("error.code"), code);
    EXPECT_EQ(results[0].count("producedAt"), 0U);
}

TEST(Responder, ThatGivesNoOcspAnswerIsNamedWithTheStep) {
    const Command tallow;
    const std::string leaf = tallow.file("leaf.pem", certs().good);
    struct Row {
        const char* name;
        HttpReply reply;
        const char* code;
        const char* step;
    };
    const Bytes good = buildResponse(goodResponse());
    for (const Row& row :
         {Row{"server error", {.status = 500}, "0xC2110100", "answered with HTTP status 500; "},
          Row{"not found", {.status = 404, .body = good}, "0xC2110100", "answered with HTTP status 404; "},
          Row{"no content", {.status = 204}, "0xC2110100", "answered with HTTP status 204; "},
          Row{"empty body", {}, "0x80093101", "decoding: "},
          Row{"garbage", {.body = bytesOf("<html>It works!</html>")}, "0x80093101", "decoding: "},
          Row{"cut in DER", {.body = Bytes(good.begin(), good.end() - 9)}, "0x80093101", "decoding: "},
          Row{"cut in HTTP", {.body = good, .cutBodyAfter = 40}, "0xC2110100", "gave no usable answer: "},
          Row{"huge", {.body = good, .framing = BodyFraming::kChunked, .padBodyTo = 8U << 20}, "0xC2110100", "usable"},
          Row{"closed at once", {.closeAtOnce = true}, "0xC2110100", "gave no usable answer: "},
          Row{"endless redirect", redirectTo("/again"), "0xC2110100", "gave no usable answer: "}}) {
        SCOPED_TRACE(row.name);
        const HttpServer server([&row](const HttpRequest&) { return row.reply; });
        expectFailure(tallow.check({"--json", "--url", server.url(), leaf}), row.code, {server.url(), row.step});
    }
}

TEST(Responder, ThatCannotBeReachedIsToldApartFromNoneKnown) {
    const Command tallow;
    const std::string dead = "http://127.0.0.1:" + std::to_string(closedPort()) + "/";
    const std::string second = "http://127.0.0.1:" + std::to_string(closedPort()) + "/second";
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

TEST(Responder, ThatIsNotToBeBelievedGivesNoVerdict) {
    const Command tallow;
    const std::string leaf = tallow.file("leaf.pem", certs().good);
    const Identity otherRoot = rootCa("another root");
    CertificateSpec plain;
    plain.commonName = "no usage";
    const Identity noUsage = issue(certs().root, plain);
    plain.extendedKeyUsage = "OCSPSigning";
    plain.ocspNoCheck = true;
    const Identity ofOtherRoot = issue(otherRoot, plain);
    struct Row {
        const char* name;
        std::function<void(ResponseSpec&)> change;
        const char* code;
        const char* step;
    };
    const auto signWith = [](const Identity& signer) { return [signer](ResponseSpec& spec) { spec.signer = signer; }; };
    for (const Row& row : std::vector<Row>{
             {"signed by a certificate without the usage", signWith(noUsage), "0x800B0110", "verification: "},
             {"signed under an untrusted root", signWith(ofOtherRoot), "0x800B01", "verification: "},
             {"signature broken", [](ResponseSpec& spec) { spec.corruptSignature = true; }, "0x80092004",
              "verification"},
             {"signer withheld", [](ResponseSpec& spec) { spec.includeSigner = false; }, "0x80092004", "(--certs)"},
             {"silent about the certificate", [](ResponseSpec& spec) { spec.entries[0].id.serial = {1}; }, "0xC2110125",
              "verification: "},
             {"produced an hour ago", [](ResponseSpec& spec) { spec.producedAt = generalizedTimeText(-3600); },
              "0xC2110122", "time of production: "},
             {"nextUpdate passed", [](ResponseSpec& spec) { spec.entries[0].nextUpdate = generalizedTimeText(-30); },
              "0xC2110122", "verification: "},
             {"a nonce nobody asked for", [](ResponseSpec& spec) { spec.extensions = {nonceExtension(Bytes(8))}; },
              "0xC2110120", "decoding: "},
         }) {
        SCOPED_TRACE(row.name);
        const HttpServer server([&row](const HttpRequest&) {
            ResponseSpec spec = goodResponse();
            row.change(spec);
            return HttpReply{.body = buildResponse(spec)};
        });
        const ProcessResult run = tallow.check({"--json", "--no-nonce", "--url", server.url(), leaf});
        EXPECT_EQ(run.exitStatus, kExitNoAnswer) << run.out;
        EXPECT_EQ(numLines(run.err), 1U) << run.err;
        EXPECT_THAT(run.err, AllOf(HasSubstr(server.url()), HasSubstr(row.step), HasSubstr(row.code)));
        EXPECT_THAT(run.out, Not(HasSubstr("\"good\"")));
    }
}

TEST(Responder, WithAWrongClockIsRefused) {
    const Command tallow;
    const std::string leaf = tallow.file("leaf.pem", certs().good);
    for (const char* clock : {"-2h", "+2h", "-20d", "+20d"}) {
        SCOPED_TRACE(clock);
        ResponderOptions options = responderOptions();
        options.clock = clock;
        const Responder responder(options);
        expectFailure(tallow.check({"--json", "--no-nonce", "--url", responder.url(), leaf}), "0xC2110122",
                      {responder.url(), "time of production: ", "clock"});
        // A nonce proves that the answer is fresh, not that what it says still holds.
        const ProcessResult withNonce = tallow.check({"--nonce", "--url", responder.url(), leaf});
        EXPECT_EQ(withNonce.exitStatus, kExitNoAnswer) << withNonce.out;
        EXPECT_THAT(withNonce.err, HasSubstr("clock"));
    }
}

TEST(Walk, GoesOnFromADeadResponderToOneThatAnswers) {
    const Command tallow;
    std::string later;
    const Identity* asked = nullptr;
    const HttpServer server([&asked](const HttpRequest&) {
        ResponseSpec spec(certs().delegate);
        spec.entries.emplace_back(certIdOf(*asked, certs().root));
        return HttpReply{.body = buildResponse(spec)};
    });
    const std::string dead = "http://127.0.0.1:" + std::to_string(closedPort()) + "/";
    const Identity leaf = leafWith({dead, server.url()});
    asked = &leaf;
    const ProcessResult run = tallow.check({"--json", "--no-nonce", tallow.file("leaf.pem", leaf)});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(parseResults(run.out).at(0).at("responder"), server.url());
}

// The one that came closest to an answer decides the code, and all are named.
TEST(Walk, ThatEndsWithoutAnAnswerNamesAllWhoWereAsked) {
    const Command tallow;
    const HttpServer broken([](const HttpRequest&) { return HttpReply{.status = 500}; });
    const HttpServer babble([](const HttpRequest&) { return HttpReply{.body = bytesOf("babble")}; });
    const std::string dead = "http://127.0.0.1:" + std::to_string(closedPort()) + "/";
    const Identity leaf = leafWith({dead, babble.url(), broken.url()});
    expectFailure(tallow.check({"--json", tallow.file("leaf.pem", leaf)}), "0x80093101",
                  {"no responder gave an answer to trust", dead + ": could not be reached: ",
                   babble.url() + ": decoding: ", broken.url() + ": answered with HTTP status 500; "});
}

TEST(Walk, TakesNoGoodAnswerAfterARevokedOne) {
    const Command tallow;
    const Identity* asked = nullptr;
    const auto answer = [&asked](EntryStatus status) {
        return [&asked, status](const HttpRequest&) {
            ResponseSpec spec(certs().delegate);
            spec.entries.emplace_back(certIdOf(*asked, certs().root), status);
            return HttpReply{.body = buildResponse(spec)};
        };
    };
    const HttpServer good(answer(EntryStatus::kGood));
    const HttpServer revoked(answer(EntryStatus::kRevoked));
    const HttpServer unknown(answer(EntryStatus::kUnknown));
    const std::string dead = "http://127.0.0.1:" + std::to_string(closedPort()) + "/";
    struct Row {
        std::vector<std::string> responders;
        int exitStatus;
    };
    for (const Row& row : {Row{{revoked.url(), good.url()}, 1}, Row{{unknown.url(), revoked.url()}, 1},
                           Row{{unknown.url(), good.url()}, 0}, Row{{unknown.url(), dead}, 2}}) {
        const Identity leaf = leafWith(row.responders);
        asked = &leaf;
        const ProcessResult run = tallow.check({"--no-nonce", tallow.file("leaf.pem", leaf)});
        EXPECT_EQ(run.exitStatus, row.exitStatus) << run.out << run.err;
    }
}

}  // namespace
