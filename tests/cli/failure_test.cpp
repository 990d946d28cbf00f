// Responders that cannot be reached, give no OCSP answer, or one that is not trusted: never a verdict, always one line
// that names the responder, the step, and a remedy. And calls of the system that fail.
#include "tests/cli/command.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;
using testing::HasSubstr;
using CheckErrors = CommandTest;
using FailingCalls = CommandTest;
using Check = CommandTest;

constexpr int kExitNoAnswer = 3;

HttpReply changed(void (*change)(ResponseSpec&)) {
    ResponseSpec spec = goodResponse();
    change(spec);
    return {.body = buildResponse(spec)};
}

TEST_F(CheckErrors, NameResponderAndStep) {
    struct Row {
        const char* name;
        HttpReply reply;
        const char* code;
        const char* step;
    };
    const Bytes good = buildResponse(goodResponse());
    for (const Row& row : {
             Row{"good answer, status 404",
                 {.status = 404, .body = good},
                 "0xC2110100",
                 "HTTP status 404 (Not Found); "},
             Row{"empty body", {}, "0x80093101", "decoding: "},
             Row{"cut in HTTP", {.body = good, .cutBodyAfter = 40}, "0x80072EFE", "broke the connection: "},
             Row{"signer without the usage", changed([](auto& s) { s.signer = leafWith({}); }), "0x800B0110",
                 "certificate of the signer: "},
             Row{"signer withheld", changed([](auto& s) { s.includeSigner = false; }), "0x80092004", "(--certs)"},
             Row{"other certificate", changed([](auto& s) { s.entries[0].id.serial = {1}; }), "0xC2110125", "entry: "},
             Row{"produced an hour ago", changed([](auto& s) { s.producedAt = generalizedTimeText(-3600); }),
                 "0xC2110122", "entry: "},
             Row{"nonce without request", changed([](auto& s) { s.extensions = {nonceExtension(Bytes(8))}; }),
                 "0xC2110120", "nonce: "},
         }) {
        SCOPED_TRACE(row.name);
        const HttpServer server = serverOf(row.reply);
        expectError(tallow.check({"--json", "--no-nonce", "--url", server.url(), leaf}), row.code,
                    {server.url(), row.step});
    }
}

TEST_F(CheckErrors, DistinguishUnreachableRespondersFromNoneKnown) {
    const std::string dead = deadUrl();
    const std::string second = deadUrl() + "second";
    expectError(tallow.check({"--json", tallow.file("none.pem", certs().good)}), "0xC2110121",
                {"choosing a responder", "no responder is known", "--url"});
    expectError(tallow.check({"--json", tallow.file("one.pem", leafWith({dead}))}), "0x80072EFD",
                {dead + ": could not be reached: "});
    expectError(tallow.check({"--json", tallow.file("two.pem", leafWith({dead, second}))}), "0x80072EFD",
                {"none of 2 responders could be reached", dead + ": ", second + ": "});
    expectError(Command("max_responders = 1\n").check({"--json", tallow.file("two.pem", leafWith({dead, second}))}),
                "0x80072EFD", {"the only responder asked", dead + ": ", second + ": not asked: ", "max_responders"});
    expectError(tallow.check({"--json", "--url", "http://no-such-host.invalid/", tallow.file("x", certs().good)}),
                "0x80072EE7", {"http://no-such-host.invalid/", "no-such-host.invalid:80: the name is not known"});
}

TEST_F(CheckErrors, ReportAFailingCacheServerOnceAndGoOnWithoutIt) {
    const HttpServer crl = serverOf(HttpReply{.body = makeCrl(certs().root, {})});
    ResponseSpec spec = goodResponse();
    spec.signer = issue(certs().root, {.extendedKeyUsage = "OCSPSigning", .crlUrls = {crl.url("/crl")}});
    const HttpServer server = serverOf(spec);
    const std::string dead = "redis://127.0.0.1:" + std::to_string(closedPort()) + "/0";
    const ProcessResult run = Command("cache = \"" + dead + "\"\n")
                                  .check({"--no-nonce", "--url", server.url(), leaf, tallow.file("b", certs().good)});
    EXPECT_EQ(run.exitStatus, 0) << run.out;
    EXPECT_EQ(run.err.find("tallow: the cache " + dead + " was not used: "), 0U) << run.err;
    EXPECT_EQ(numLines(run.err), 1U);
}

TEST_F(CheckErrors, NameAnIssuerThatDidNotSign) {
    const std::string twin = tallow.file("twin.pem", rootCa("command root"));
    EXPECT_THAT(Command::plain({"check", leaf, twin}).err,
                HasSubstr("was not found: the issuer given has the right name, but another key; supply the one"));
}

TEST_F(CheckErrors, ReportAWrongClockOfTheResponder) {
    struct Row {
        const char* clock;
        const char* code;
        const char* step;
    };
    // The certificates are not valid yet two hours ago.
    for (const Row& row :
         {Row{"-2h", "0x800B0101", "certificate of the signer: "}, Row{"+20d", "0xC2110122", "entry: "}}) {
        SCOPED_TRACE(row.clock);
        ResponderOptions options = responderOptions();
        options.clock = row.clock;
        const Responder responder(options);
        expectError(tallow.check({"--json", "--no-nonce", "--url", responder.url(), leaf}), row.code,
                    {responder.url(), row.step, "clock"});
        // A nonce proves that the response is new, not that what it says is current.
        expectOneLine(tallow.check({"--nonce", "require", "--url", responder.url(), leaf}), kExitNoAnswer, {"clock"});
    }
}

// The attempt that came closest to an answer decides the code, and all are named.
TEST_F(CheckErrors, NameAllRespondersThatWereAsked) {
    const HttpServer broken = serverOf(HttpReply{.status = 500});
    const HttpServer babble = serverOf(HttpReply{.body = bytesOf("babble")});
    const std::string dead = deadUrl();
    const Identity leaf = leafWith({dead, babble.url(), broken.url()});
    expectError(
        tallow.check({"--json", tallow.file("leaf.pem", leaf)}), "0x80093101",
        {"no responder gave a verified answer", dead + ": could not be reached: ", babble.url() + ": decoding: ",
         broken.url() + ": answered with HTTP status 500 (Internal Server Error); "});
}

TEST_F(CheckErrors, NameTlsProxyAndTimeLimit) {
    const Identity root = rootCa("tls root");
    const Identity expired =
        issue(root, {.notAfterSeconds = -60,
                     .extensions = {{"2.5.29.17", tlv::sequence({tlv::contextPrimitive(7, {127, 0, 0, 1})})}}});
    const auto good = [](const HttpRequest&) { return HttpReply{.body = buildResponse(goodResponse())}; };
    const HttpServer tls(good, &expired);
    const HttpServer proxy([](const HttpRequest&) {
        return HttpReply{.status = 407, .headers = {{"Proxy-Authenticate", "Basic realm=\"p\""}}};
    });
    const HttpServer slow([](const HttpRequest&) { return HttpReply{.delayMs = 1500}; });
    const Command secure("system_bundle = \"" + tallow.file("bundle.pem", root) + "\"\n");
    expectError(secure.check({"--json", "--url", tls.url(), leaf}), "0x80072F8F",
                {tls.url(), "could not be reached securely", "certificate has expired"});
    expectError(tallow.check({"--json", "--proxy", proxy.url(""), "--url", tls.url(), leaf}), "0xC2110100",
                {"the proxy " + proxy.url("") + " failed", "407", "(--proxy-user, --proxy-password-file)"});
    expectError(tallow.check({"--json", "--timeout", "0.3", "--url", slow.url(), leaf}), "0x80072EE2",
                {slow.url(), "time limit of the check, 0.3 s", "(--timeout)"});
    expectError(Command("check_timeout_ms = 250\n").check({"--json", "--url", slow.url(), leaf}), "0x80072EE2",
                {slow.url(), "0.25 s (setting check_timeout_ms)"});
    const std::string dead = deadUrl();
    const ProcessResult run = tallow.check({"--url", dead, leaf, tallow.file("second.pem", certs().unknown)});
    EXPECT_THAT(run.err, HasSubstr(dead + ": not asked: earlier in this run it could not be reached: "));
}

TEST_F(Check, AsksRespondersUntilOneDecides) {
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

// proof/environment/fault_points.h describes how the calls fail.
TEST_F(FailingCalls, ChangeNothingOrLeadToOneLineAndStatus3) {
#ifdef TALLOW_FAULT_POINTS
    struct Row {
        const char* function;
        int calls;  // the first ones of a run, each of which fails in a run of its own
        Arguments arguments;
        const char* words;
    };
    tallow.with({"store", "add", "ROOT", root});
    tallow.with({"store", "add", "CA", tallow.file("root.crl", makeCrl(certs().root, {}))});
    const std::string settings = tallow.folder().file("settings.toml");
    for (const Row& row : {
             Row{"malloc", 90, {"explain", "0x80093101"}, "out of memory"},  // some 70 of them before main
             Row{"open", 1, {"explain", "0x80093101"}, "/dev/null cannot be opened; raise the limit"},
             Row{"EVP_Q_digest", 2, {"store", "list", "ROOT", "--settings", settings}, "out of memory"},
             Row{"EVP_Digest", 2, {"store", "list", "CA", "--settings", settings}, "out of memory"},
         }) {
        const Arguments arguments = joined({TALLOW_COMMAND}, row.arguments);
        const std::string expected = testkit::run(arguments).out;
        int failures = 0;
        for (int call = 1; call <= row.calls; ++call) {
            const std::string fault = std::string(row.function) + ':' + std::to_string(call);
            SCOPED_TRACE(fault);
            const ProcessResult run =
                testkit::run(arguments, 30000, {"LD_PRELOAD=" TALLOW_FAULT_POINTS, "TALLOW_FAULT=" + fault});
            if (run.exitStatus == 0) {
                EXPECT_EQ(run.out, expected);
            } else {
                expectOneLine(run, kExitNoAnswer, {row.words});
                ++failures;
            }
        }
        EXPECT_GT(failures, 0) << row.function;
    }
#else
    GTEST_SKIP() << "the sanitizers have their own malloc";
#endif
}

#ifdef TALLOW_FAULT_POINTS
ProcessResult runWithoutMemory(const Arguments& arguments, int call, const char* more = "LANG=C") {
    return testkit::run(arguments, 30000,
                        {"LD_PRELOAD=" TALLOW_FAULT_POINTS, "TALLOW_FAULT=malloc:" + std::to_string(call), more});
}

int lastAllocationOf(const Arguments& arguments) {
    int reached = 0;
    for (int step = 1 << 17; step > 0; step /= 2) {
        const ProcessResult run = runWithoutMemory(arguments, reached + step, "TALLOW_FAULT_TRACE=1");
        reached += run.err.find("fault in malloc") != std::string::npos ? step : 0;
    }
    return reached;
}
#endif

// The last allocations are those of the chain's evidence and of its document.
TEST_F(FailingCalls, LeaveNoPartOfTheEvidenceOut) {
#ifdef TALLOW_FAULT_POINTS
    constexpr int kOfEvidence = 600;
    ResponseSpec revoked = responseAbout(certs().revoked, EntryStatus::kRevoked);
    revoked.signer = certs().markless;
    const std::string crl = tallow.file("root.crl", makeCrl(certs().root, {}));
    const Arguments arguments = {TALLOW_COMMAND, "verify",
                                 "--settings",   tallow.folder().file("settings.toml"),
                                 "--trust",      root,
                                 "--crl",        crl,
                                 "--json",       tallow.file("revoked.der", buildResponse(revoked))};
    const ProcessResult expected = testkit::run(arguments);
    ASSERT_EQ(expected.exitStatus, 1) << expected.err;
    ASSERT_THAT(expected.out, HasSubstr("crlThisUpdate"));
    const int last = lastAllocationOf(arguments);
    ASSERT_GT(last, kOfEvidence);
    int failures = 0;
    for (int call = last - kOfEvidence; call <= last; ++call) {
        SCOPED_TRACE(call);
        const ProcessResult run = runWithoutMemory(arguments, call);
        if (run.exitStatus == 1) {
            EXPECT_EQ(run.out, expected.out);
        } else {
            expectOneLine(run, kExitNoAnswer, {"tallow: "});
            ++failures;
        }
    }
    EXPECT_GT(failures, 0);
#else
    GTEST_SKIP() << "the sanitizers have their own malloc";
#endif
}

}  // namespace
