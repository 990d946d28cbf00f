// Failures that the administrator's settings cause name key, file and line.
#include "tests/checker/checker_fixture.h"

namespace {

using namespace testkit;

class PolicyReason : public CheckerTest {
protected:
    std::string place(const std::string& key) const { return key + " (" + folder().file("settings.toml") + ":8)"; }
};

TEST_F(PolicyReason, NamesTheKeyThatRefuses) {
    HttpServer server(serving(good()));
    const std::string http = server.url();
    const std::string withLogin = "http://user:secret@" + http.substr(7);
    struct Row {
        std::string setting;  // after the name of the key
        std::string key;
        Options options;
        std::int32_t status;
        std::string text;  // before the key, with its blank
    };
    const Nonce off = Nonce::kOff;
    for (const Row& row : {
             Row{" = []",
                 "AllowedOCSPs",
                 {},
                 status::kAddressRefused,
                 http + ": policy refuses the address: it is not in "},
             Row{" = ['" + http + "']", "DeniedOCSPs", {}, status::kAddressRefused, "it is in "},
             Row{" = ['http://p/']", "AllowedProxies", {}, status::kAddressRefused, "without a proxy: "},
             Row{" = ['']",
                 "AllowedProxies",
                 {.proxy = "http://u:p@q/"},
                 status::kAddressRefused,
                 "the proxy http://***@q/: it is not in "},
             Row{" = true", "AuthDenyAnonym", {}, status::kResponderAuthRefused, "anonymous access to the responder: "},
             Row{" = true", "ProxyAuthDenyAnonym", {.proxy = "http://q/"}, status::kProxyAuthRefused, "to the proxy: "},
             Row{" = true\nAuthDenyDigest = true\nAuthDenyNTLM = true\nAuthDenyNegotiate = true",
                 "AuthDenyBasic",
                 {.responders = {withLogin}},
                 status::kResponderAuthRefused,
                 "to send a login to the responder: "},
             Row{" = true", "RequireNonce", {.nonce = off}, status::kOptionAgainstPolicy, "requests without a nonce: "},
             Row{" = true", "DisableNonce", {.nonce = Nonce::kRequire}, status::kOptionAgainstPolicy, "with a nonce: "},
             Row{" = true", "DisableUnsignedRequests", {}, status::kUnsignedRefused, "unsigned requests: "},
             Row{" = true", "RequireAcceptResp", {}, status::kOptionAgainstPolicy, "response types: "},
             Row{" = 65536", "NonceLength", {.nonce = Nonce::kRequire}, status::kInvalidArgument, ""},
             Row{" = 'x'", "CertIDHashAlg", {}, status::kBadAlgorithm, "x in "},
         }) {
        SCOPED_TRACE(row.key + row.setting);
        settings(row.key + row.setting + "\n");
        Options options = row.options;
        options.responders = options.responders.empty() ? std::vector{http} : options.responders;
        const Verdict verdict = check(options, Trust::system());
        EXPECT_EQ(verdict.status, row.status) << verdict.cause;
        EXPECT_THAT(verdict.cause, testing::HasSubstr(row.text + place(row.key)));
        EXPECT_THAT(verdict.cause, testing::Not(testing::HasSubstr("secret")));
    }
    EXPECT_EQ(server.requests().size(), 0U);
}

TEST_F(PolicyReason, NamesWhatRefusesOwnExchangesRedirectsAndSentRequests) {
    const Options byCaller{.exchange = answering(good())};
    settings("DeniedOCSPs = ['" + url + "', 'http://other.test']\n");
    EXPECT_THAT(check(byCaller, Trust::system()).cause, testing::HasSubstr("it is in " + place("DeniedOCSPs")));
    HttpServer server([](const HttpRequest&) { return redirectTo("http://OTHER.test:80/", 307); });
    const Verdict redirected = check({.responders = {server.url()}}, Trust::system());
    EXPECT_THAT(redirected.cause, testing::HasSubstr("http://OTHER.test:80/: policy refuses the address: it is in " +
                                                     place("DeniedOCSPs")));
    const Bytes request =
        Checker(own(), {.nonce = Nonce::kOff}).ask(pki.good.certificate, pki.ca.certificate).request();
    EXPECT_THAT(Checker(Trust::system()).send(request, url).cause, testing::HasSubstr(place("DeniedOCSPs")));
    settings("RequireNonce = true\n");
    EXPECT_THAT(Checker(Trust::system()).send(request, url).cause, testing::HasSubstr(place("RequireNonce")));
}

TEST_F(PolicyReason, NamesSettingsThatCannotBeUsed) {
    const Options options{.nonce = Nonce::kOff, .exchange = answering(good())};
    folder().write("stores/ROOT/root.pem", pki.root.certificatePem());
    folder().write("stores/CA/root.crl", makeCrl(pki.root, {}));
    settings("ThisUpdateAccuracy = 'x'\n");
    const Verdict interval = check(options, Trust::system());
    EXPECT_EQ(interval.status, status::kInvalidArgument) << interval.cause;
    EXPECT_THAT(interval.cause, testing::HasSubstr(place("ThisUpdateAccuracy")));
    settings("NocheckOCSPs = 5\n");
    EXPECT_THAT(check(options, Trust::system()).cause,
                testing::HasSubstr("settings: " + folder().file("settings.toml") + ":8:"));
    settings("", "max_crl_age = 'x'\n");
    EXPECT_THAT(check(options, Trust::system()).cause, testing::HasSubstr("max_crl_age should be an integer"));
}

}  // namespace
