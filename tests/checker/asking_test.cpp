// What the check says about responders that give no usable answer, and how it avoids asking them in vain.
#include <chrono>

#include "checker/silent_responders.h"
#include "tests/checker/checker_fixture.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

using namespace std::chrono_literals;
using tallow::Remedy;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using CheckerAttempts = CheckerTest;

std::string dead() {
    return "http://127.0.0.1:" + std::to_string(closedPort()) + "/";
}

TEST_F(CheckerAttempts, NameTheCauseAndWhatHelps) {
    settings("", "exchange_timeout_ms = 300\n");
    const auto refusing = [](unsigned responseStatus) {
        return HttpReply{.body = tlv::sequence({tlv::enumerated(responseStatus)})};
    };
    struct Row {
        HttpReply reply;
        std::int32_t status;  // 0: any
        Remedy remedy;
        const char* words;
        Options options = {};
    };
    constexpr const char* kSha256 = "2.16.840.1.101.3.4.2.1";
    for (const Row& row : {
             Row{{.status = 404}, status::kHttpStatus, Remedy::kAddress, "HTTP status 404 (Not Found); check"},
             Row{{.status = 503}, status::kHttpStatus, Remedy::kNone, "503 (Service Unavailable); try again later"},
             Row{{.status = 599}, status::kHttpStatus, Remedy::kNone, "HTTP status 599; "},
             Row{{.delayMs = 600}, status::kHttpTimeout, Remedy::kNone, "0.3 s (setting exchange_timeout_ms)"},
             Row{{.delayMs = 600},
                 status::kHttpTimeout,
                 Remedy::kTime,
                 "within the time limit of the check, 0.1 s; allow more time",
                 {.timeout = 100ms}},
             Row{{.closeAtOnce = true}, status::kHttpConnectionLost, Remedy::kNone, "broke the connection: "},
             Row{{.padBodyTo = (1 << 20) + 1},
                 status::kHttpBadAnswer,
                 Remedy::kAddress,
                 "1048577 octets, and at most 1048576 are read (setting max_response_bytes); raise the limit"},
             Row{redirectTo("ftp://127.0.0.1/x"), status::kHttpRedirect, Remedy::kAddress,
                 "the redirect to ftp://127.0.0.1/x is no http or https address"},
             Row{{}, 0, Remedy::kAddress, "the answer is empty"},
             Row{{.body = bytesOf(" <!DOCTYPE html><p>login")}, 0, Remedy::kAddress, "an HTML page"},
             Row{{.body = bytesOf("{\"a\": 1}")}, 0, Remedy::kAddress, "looks like JSON (8 octets)"},
             Row{refusing(1), status::kNotSuccessful, Remedy::kNone, "\"malformedRequest\": it could not read"},
             Row{refusing(2), status::kNotSuccessful, Remedy::kNone, "\"internalError\": it failed"},
             Row{refusing(3), status::kNotSuccessful, Remedy::kNone, "\"tryLater\": it cannot answer now"},
             Row{refusing(5), status::kNotSuccessful, Remedy::kNone, "\"sigRequired\": it answers only signed"},
             Row{refusing(6), status::kNotSuccessful, Remedy::kNone, "\"unauthorized\": it does not answer about"},
             Row{refusing(6), status::kNotSuccessful, Remedy::kSha1, "by its SHA-1 hash", {.hashOid = kSha256}},
             Row{{.body = buildResponse(good())},
                 status::kNonceMismatch,
                 Remedy::kTryNonce,
                 "has no nonce, although one is required",
                 {.nonce = Nonce::kRequire}},
         }) {
        SCOPED_TRACE(row.words);
        const HttpServer server([&row](const HttpRequest&) { return row.reply; });
        Options options = row.options;
        options.responders = {server.url()};
        options.nonce = options.nonce.value_or(Nonce::kOff);
        const Verdict verdict = check(options);
        EXPECT_EQ(verdict.answer, Answer::kUnproven);
        EXPECT_TRUE(row.status == 0 || verdict.status == row.status) << verdict.status;
        ASSERT_FALSE(verdict.attempts.empty());
        EXPECT_EQ(verdict.attempts.back().status, verdict.status);
        EXPECT_EQ(verdict.attempts.back().remedy, row.remedy);
        EXPECT_EQ(verdict.cause.find(row.words), verdict.cause.rfind(row.words)) << verdict.cause;  // said once
        EXPECT_THAT(verdict.cause, AllOf(HasSubstr(server.url()), HasSubstr(row.words), Not(HasSubstr("--"))));
    }
}

TEST_F(CheckerAttempts, BlameTheProxyForItsFailures) {
    const HttpServer proxy([](const HttpRequest& request) {
        return request.header("proxy-authorization") == "Basic dXNlcjpzZTpjcmV0"
                   ? HttpReply{.status = 404}
                   : HttpReply{.status = 407, .headers = {{"Proxy-Authenticate", "Basic realm=\"p\""}}};
    });
    const std::string closed = dead();
    const auto through = [&](const std::string& address, const std::string& user, const std::string& password) {
        return check({.proxy = address, .proxyUser = user, .proxyPassword = password});
    };
    const Verdict refused = through(proxy.url(""), "user", "wrong!");
    EXPECT_EQ(refused.attempts.at(0).remedy, Remedy::kProxyLogin);
    EXPECT_THAT(refused.cause,
                AllOf(HasSubstr("the proxy " + proxy.url("") + " failed: HTTP status 407"), Not(HasSubstr("wrong!"))));
    EXPECT_EQ(through(proxy.url(""), "user", "se:cret").attempts.at(0).httpStatus, 404) << "the login is accepted";
    const Verdict unreached = through(closed, "", "");
    EXPECT_EQ(unreached.status, status::kHttpCannotConnect);
    EXPECT_EQ(unreached.attempts.at(0).remedy, Remedy::kProxy);
    EXPECT_THAT(unreached.cause, HasSubstr("the proxy " + closed + " failed: no connection to "));
    EXPECT_THAT(through("", "user", "se:cret").cause, HasSubstr("name the proxy"));
    EXPECT_EQ(badInput([&] { Checker(own(), {.proxyUser = "a:b"}); }), status::kInvalidArgument);
}

TEST_F(CheckerAttempts, AreNotRepeatedAtSilentResponders) {
    const std::string closed = dead();
    HttpServer slow([](const HttpRequest&) { return HttpReply{.delayMs = 1500}; });
    HttpServer hasty([](const HttpRequest&) { return HttpReply{.delayMs = 1500}; });
    settings("", "exchange_timeout_ms = 400\n");
    Options options{.timeout = 500ms,
                    .responders = {closed, slow.url("/a"), hasty.url()},
                    .silent = std::make_shared<tallow::SilentResponders>()};
    const Verdict first = check(options);
    EXPECT_EQ(first.attempts.size(), 3U);
    options.responders[1] = slow.url("/b");
    const Verdict second = check(options);
    ASSERT_EQ(second.attempts.size(), 3U);
    EXPECT_EQ(second.attempts[0].url, hasty.url()) << "it had only the rest of the time";
    EXPECT_TRUE(second.attempts[1].isSkipped && second.attempts[2].isSkipped);
    EXPECT_THAT(second.cause, AllOf(HasSubstr(closed + ": not asked: earlier in this run it could not be reached: "),
                                    HasSubstr(slow.url("/b") + ": not asked: earlier in this run it did not answer")));
    EXPECT_EQ(slow.requests().size(), 1U);
    options.responders = {closed};
    EXPECT_EQ(check(options).status, status::kNotAsked);
    const std::string other = dead();
    const HttpServer hostile([&other](const HttpRequest&) {
        return HttpReply{.status = 307, .headers = {{"Location", other}}};
    });
    for (const std::string& asked : {hostile.url(), other}) {
        options.responders = {asked};
        EXPECT_FALSE(check(options).attempts.back().isSkipped) << "a redirect says nothing about its target";
    }
}

// The time limit covers the issuer, the responder and the CRL of its signer together: each alone would be in time.
TEST_F(CheckerAttempts, ShareTheTimeLimitWithAllDownloads) {
    constexpr int kDelayMs = 500;
    HttpServer issuers(
        [this](const HttpRequest&) { return HttpReply{.body = pki.ca.certificate, .delayMs = kDelayMs}; });
    HttpServer crls([this](const HttpRequest&) { return HttpReply{.body = makeCrl(pki.ca, {}), .delayMs = kDelayMs}; });
    CertificateSpec spec{.extendedKeyUsage = "OCSPSigning", .crlUrls = {crls.url()}};
    ResponseSpec response(issue(pki.ca, spec));
    HttpServer server(
        [&response](const HttpRequest&) { return HttpReply{.body = buildResponse(response), .delayMs = kDelayMs}; });
    const Identity leaf = issue(pki.ca, {.ocspUrls = {server.url()}, .caIssuersUrls = {issuers.url()}});
    response.entries.emplace_back(certIdOf(leaf, pki.ca), EntryStatus::kGood);
    const Trust trust = Trust().addRoots(pki.root.certificate).addCrls(makeCrl(pki.root, {}));
    expectProven(Checker(trust, {.timeout = 60s}).check(leaf.certificate), Answer::kGood);
    for (const HttpServer* const asked : {&issuers, &server, &crls}) {
        EXPECT_GE(asked->requests().size(), 1U);
    }
    EXPECT_EQ(Checker(trust, {.timeout = 1200ms}).check(leaf.certificate).answer, Answer::kUnproven);
}

TEST_F(CheckerAttempts, AskAgainWithoutANonceForANewerResponse) {
    const Bytes old = buildResponse(goodAt(-7200, -3600));
    const Bytes fresh = buildResponse(good());
    HttpServer server(
        [&](const HttpRequest& request) { return HttpReply{.body = nonceOf(request.body) ? old : fresh}; });
    expectProven(check({.responders = {server.url()}}), Answer::kGood);
    EXPECT_EQ(check({.responders = {server.url()}, .nonce = Nonce::kRequire}).answer, Answer::kUnproven);
    EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(CheckerAttempts, OfSendReportDatesThatDoNotFit) {
    const Bytes request = Checker(own(), {.responders = {url}}).ask(pki.good.certificate, pki.ca.certificate).request();
    struct Row {
        ResponseSpec response;
        std::int32_t status;
        const char* words;
    };
    ResponseSpec other = good();
    other.entries.front().id.serial = {0x7F};
    for (const Row& row : {Row{good(), 0, ""}, Row{other, status::kNotAnswered, "no entry about any"},
                           Row{goodAt(-60, -30), status::kNotCurrent, "nextUpdate"},
                           Row{goodAt(3600, 7200), status::kNotCurrent, "ahead of our clock"},
                           Row{goodAt(-30 * kDay, std::nullopt), status::kThisUpdateTooOld, "thisUpdate"}}) {
        const HttpServer server([&](const HttpRequest&) { return HttpReply{.body = buildResponse(row.response)}; });
        const tallow::Sent sent = Checker(own()).send(request, server.url());
        EXPECT_EQ(sent.status, row.status) << sent.cause;
        EXPECT_EQ(sent.cause.empty(), row.status == 0);
        EXPECT_THAT(sent.cause, HasSubstr(row.words));
        EXPECT_FALSE(sent.answer.empty());
    }
    // Its source decides whether the address may be a private one.
    settings("", "refuse_private_addresses = true\n");
    const HttpServer server([&](const HttpRequest&) { return HttpReply{.body = buildResponse(good())}; });
    EXPECT_EQ(Checker(own()).send(request, server.url()).status, 0);
    const tallow::Sent sent = Checker(own()).send(request, server.url(), tallow::ResponderSource::kCertificate);
    EXPECT_THAT(sent.cause, HasSubstr("refuse_private_addresses"));
    EXPECT_EQ(sent.attempts.at(0).source, tallow::ResponderSource::kCertificate);
    EXPECT_EQ(server.requests().size(), 1U);
}

}  // namespace
}  // namespace testkit
