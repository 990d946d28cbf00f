// `check --connect`: addresses, the dialogues before TLS, what a server sends, and its stapled response.
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <thread>

#include "cli/check.h"
#include "cli/check_result_of.h"
#include "cli/server/server_certificates.h"
#include "cli/server/server_failure.h"
#include "tests/cli/command.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/settings_file.h"

namespace {

using namespace testkit;
using namespace std::chrono_literals;
using namespace std::string_literals;
using tallow::cli::CheckResult;
using tallow::cli::startTlsNamed;
using testing::HasSubstr;

constexpr auto kAmple = 60000ms;

TEST(ServerAddress, IsReadOrRefusedWithTheCause) {
    const std::string longName(254, 'a');
    for (const auto& [text, expected] : std::vector<std::pair<std::string, std::string>>{
             {"host", "host:25"},
             {"Mail.Example.:587", "Mail.Example:587"},
             {"192.0.2.1", "192.0.2.1:25"},
             {"2001:db8::1", "[2001:db8::1]:25"},
             {"[2001:db8::1]", "[2001:db8::1]:25"},
             {"[fe80::1%eth0]:443", "[fe80::1%eth0]:443"},
             {"https://host/", "is a URL"},
             {"me@host", "contains a login"},
             {"a:1:2", "more than one colon"},
             {"[::1", "[IPv6]:PORT"},
             {"[::1]443", "[IPv6]:PORT"},
             {"[192.0.2.1]:1", "[IPv6]:PORT"},
             {"host:", "the port \"\""},
             {"host:0", "the port \"0\""},
             {"host:65536", "1 to 65535"},
             {"host:+1", "the port"},
             {":443", "is not the name"},
             {".", "is not the name"},
             {"a b", "is not the name"},
             {"127.1", "neither a name nor an IP address"},
             {"0x7f000001", "neither a name nor an IP address"},
             {"b\xC3\xBC"
              "cher.example",
              "ASCII form"},
             {longName, "longer than 253"},
         }) {
        std::string result;
        try {
            result = tallow::cli::readServerAddress(text, 25).label();
        } catch (const tallow::cli::AddressMistake& mistake) {
            result = mistake.what();
        }
        EXPECT_THAT(result, HasSubstr(expected)) << text;
    }
    expectMistake(Command::plain({"check", "--connect", "host:x"}), "--connect host:x: the port \"x\" is not a number");
    expectMistake(Command::plain({"check", "--connect", "h", "--servername", "::1"}),
                  "--servername ::1: an IP address");
    expectMistake(Command::plain({"check", "--connect", "h", "--chain", "--save-response", "r"}), "one certificate");
}

// ---- StartTLS -------------------------------------------------------------------------------------------------------

struct Turn {
    std::string expected;  // what the client must send first
    std::string reply;
    bool isEndless = false;  // the reply is repeated until the client is gone
};
using Script = std::vector<Turn>;

// Speaks the script to one client, then TLS; waits for the end of the connection.
class TalkingServer {
public:
    explicit TalkingServer(Script script) : script_(std::move(script)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        const bool isListening = ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                                 ::listen(listener_, 1) == 0 &&
                                 ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) == 0;
        EXPECT_TRUE(isListening);
        port = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    ~TalkingServer() {
        ::shutdown(listener_, SHUT_RDWR);  // wakes accept
        thread_.join();
        ::close(listener_);
    }

    std::uint16_t port = 0;

private:
    void serve() {
        sigset_t brokenPipe;  // in this thread only: the client must not depend on it
        sigemptyset(&brokenPipe);
        sigaddset(&brokenPipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
        const int client = ::accept(listener_, nullptr, nullptr);
        if (client >= 0 && speak(client)) {
            shakeHands(client);
            char rest[1000];
            while (::recv(client, rest, sizeof rest, 0) > 0) {
            }
        }
        ::close(client);
    }
    bool speak(int client) const {
        for (const Turn& turn : script_) {
            std::string heard(turn.expected.size(), '\0');
            const ssize_t size = heard.empty() ? 0 : ::recv(client, heard.data(), heard.size(), MSG_WAITALL);
            bool isSpoken = size == static_cast<ssize_t>(heard.size()) && heard == turn.expected;
            do {
                isSpoken = isSpoken && ::send(client, turn.reply.data(), turn.reply.size(), MSG_NOSIGNAL) >= 0;
            } while (isSpoken && turn.isEndless);
            if (!isSpoken) {
                return false;
            }
        }
        return true;
    }
    static void shakeHands(int client) {
        const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
        SSL_CTX_use_certificate(context.get(), parseCertificate(certs().good.certificate).get());
        SSL_CTX_use_PrivateKey(context.get(), certs().good.key.get());
        const std::unique_ptr<SSL, decltype(&SSL_free)> session(SSL_new(context.get()), SSL_free);
        SSL_set_fd(session.get(), client);
        SSL_accept(session.get());
    }

    Script script_;
    int listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::thread thread_;
};

// What comes of asking a server with this script: "" when it sent its certificate, else the failure.
std::string failureWith(const char* protocol, const Script& script, std::chrono::milliseconds timeout = kAmple) {
    const TalkingServer server(script);
    tallow::cli::ServerToAsk asked{{"127.0.0.1", server.port, true}, startTlsNamed(protocol), "mail.example", timeout};
    try {
        const auto sent = retrieveCertificates(asked);
        return sent.chain.at(0).der == certs().good.certificate && sent.staple.empty() ? "" : "another certificate";
    } catch (const tallow::cli::ServerFailure& failure) {
        return failure.what();
    }
}

struct Dialogue {
    const char* protocol;
    Script script;
};

const std::string kEhlo = "EHLO localhost\r\n";
const std::string kImapTls = "a1 STARTTLS\r\n";
const std::string kLdapRequest =
    "\x30\x1D\x02\x01\x01\x77\x18\x80\x16"
    "1.3.6.1.4.1.1466.20037";
const std::string kPostgresRequest("\0\0\0\x08\x04\xD2\x16\x2F", 8);
const std::string kTlsNamespace = " xmlns='urn:ietf:params:xml:ns:xmpp-tls'";
const std::string kXmppBegin =
    "<?xml version='1.0'?><stream:stream xmlns='jabber:client' xmlns:stream='http://etherx.jabber.org/streams' "
    "version='1.0' to='mail.example'>";
const std::string kXmppOffer = "<?xml version='1.0'?><stream:stream id='a>b'><stream:features><starttls" +
                               kTlsNamespace + "><required/></starttls></stream:features>";
const std::string kMysqlRequest = "\x20\0\0\x01\0\x8A\0\0\0\0\0\x01\x2D"s + std::string(23, '\0');

std::string mysqlGreeting(char flags) {
    const std::string payload =
        "\x0A"
        "8.0\0"s +
        std::string(13, 'r') + '\xFF' + flags + std::string(30, '\0');
    return std::string(1, static_cast<char>(payload.size())) + std::string(3, '\0') + payload;
}

std::vector<Dialogue> dialogues() {
    return {
        {"smtp",
         {{"", "220-mail\r\n220 ready\r\n"},
          {kEhlo, "250-mail\r\n250-starttls\r\n250 8BITMIME\r\n"},
          {"STARTTLS\r\n", "220 go\r\n"}}},
        {"imap", {{"", "* OK hi\r\n"}, {kImapTls, "* OK a notice\r\na1 ok begin\r\n"}}},
        {"pop3", {{"", "+OK\r\n"}, {"STLS\r\n", "+OK begin\n"}}},
        {"ftp", {{"", "220-hello\r\n 220 indented\r\n220 end\r\n"}, {"AUTH TLS\r\n", "234\r\n"}}},
        // Lengths in four octets, as some servers write them.
        {"ldap", {{kLdapRequest, "\x30\x84\0\0\0\x10\x02\x01\x01\x78\x84\0\0\0\x07\x0A\x01\0\x04\0\x04\0"s}}},
        {"xmpp", {{kXmppBegin, kXmppOffer}, {"<starttls" + kTlsNamespace + "/>", "<proceed" + kTlsNamespace + "/>"}}},
        {"postgres", {{kPostgresRequest, "S"}}},
        {"mysql", {{"", mysqlGreeting('\x08')}, {kMysqlRequest, ""}}},
    };
}

TEST(StartTls, LeadsToTheCertificateUnlessTheServerInjectsEndsOrNeverEnds) {
    for (const auto& [protocol, script] : dialogues()) {
        SCOPED_TRACE(protocol);
        EXPECT_EQ(failureWith(protocol, script), "");
        Script injected = script;
        injected[injected.size() - (injected.back().reply.empty() ? 2 : 1)].reply += "more\r\n";
        EXPECT_THAT(failureWith(protocol, injected), HasSubstr("more plain text after its go-ahead"));
        Script hostile = script;
        hostile.back() = {std::string(100000, 'x'), ""};  // the server waits
        EXPECT_THAT(failureWith(protocol, hostile, 200ms), HasSubstr("within 200 ms; "));
        for (const std::string& endless :
             {std::string(200000, '<'), std::string(200000, '\x7F'), std::string(200000, '\n')}) {
            EXPECT_NE(failureWith(protocol, {{script[0].expected, endless}}), "");
        }
        EXPECT_THAT(failureWith(protocol, {{script[0].expected, ""}, {std::string(100, 'x'), ""}}, 200ms),
                    testing::AnyOf(HasSubstr("within 200 ms"), HasSubstr("closed the connection")));
    }
}

TEST(CheckThatFails, IsNotGoodAndLeavesRevokedAsItIs) {
    using tallow::cli::CertificateState;
    for (const auto& [before, after] : {std::pair(CertificateState::kGood, CertificateState::kError),
                                        std::pair(CertificateState::kRevoked, CertificateState::kRevoked)}) {
        CheckResult result;
        result.state = before;
        fail(result, {1, "memory is exhausted"});
        EXPECT_EQ(result.state, after);
    }
}

TEST(StartTls, NamesTheLimitThatTheServerExceeds) {
    const Script manyLines{{"", "220-\r\n"s}};
    Script endless = manyLines;
    for (int i = 0; i < 100; ++i) {
        endless[0].reply += "220-x\r\n";
    }
    EXPECT_THAT(failureWith("smtp", endless), HasSubstr("more than 64 lines"));
    EXPECT_THAT(failureWith("imap", {{"", std::string(5000, 'x')}}), HasSubstr("a line of more than 4 KiB"));
    EXPECT_THAT(failureWith("xmpp", {{kXmppBegin, std::string(70000, ' ')}}), HasSubstr("more than 64 KiB"));
    EXPECT_THAT(failureWith("ldap", {{kLdapRequest, "\x30\x84\x7F\xFF\xFF\xFF"}}), HasSubstr("more than 64 KiB"));
}

TEST(StartTls, ReportsWhatARefusingServerSays) {
    struct Row {
        const char* protocol;
        Script script;
        std::string words;
    };
    const Turn imapHello{"", "* OK\r\n"};
    for (const Row& row : {
             Row{"smtp", {{"", "554 no\r\n"}}, "asking for TLS in smtp: the server refuses TLS: \"554 no\""},
             Row{"smtp", {{"", "220 a\r\n"}, {kEhlo, "250-a\r\n250 STARTTLSX\r\n"}}, "does not offer TLS"},
             Row{"smtp", {{"", "SSH-2.0\r\n"}}, "does not speak this protocol (it says \"SSH-2.0\")"},
             Row{"imap", {{"", "* PREAUTH in\r\n"}}, "refuses TLS: \"* PREAUTH in\""},
             Row{"imap", {imapHello, {kImapTls, "a1 NO " + std::string(300, 'n')}, {"", "\r\n"}}, "nnn...\""},
             Row{"pop3", {{"", "+OK\r\n"}, {"STLS\r\n", "-ERR no\r\n"}}, "\"-ERR no\""},
             Row{"ftp", {{"", "220 a\r\n"}, {"AUTH TLS\r\n", "530 no\r\n"}}, "\"530 no\""},
             Row{"ldap",
                 {{kLdapRequest, "\x30\x0E\x02\x01\x01\x78\x09\x0A\x01\x34\x04\0\x04\x02no"s}},
                 "\"result 52 no\""},
             Row{"ldap", {{kLdapRequest, "\x30\x0C\x02\x01\0\x78\x07\x0A\x01\0\x04\0\x04\0"s}}, "does not speak"},
             Row{"ldap", {{kLdapRequest, "\x30\x05\x02\x01\x01\x78\x40"s}}, "does not speak"},
             Row{"xmpp", {{kXmppBegin, "<stream:stream><stream:features/>"}}, "does not offer TLS"},
             Row{"xmpp", {{kXmppBegin, "<stream:stream><stream:error><host-unknown/>"}}, "\"host-unknown/\""},
             Row{"xmpp", {{kXmppBegin, "<!DOCTYPE a><stream:stream>"}}, "does not speak this protocol"},
             Row{"xmpp", {{kXmppBegin, kXmppOffer}, {"<starttls", "<failure/>"}}, "\"failure/\""},
             Row{"postgres", {{kPostgresRequest, "N"}}, "does not offer TLS"},
             Row{"postgres", {{kPostgresRequest, "E\0\0\0\x0ESX\0Mno\0\0\0\0"s}}, "refuses TLS: \"no\""},
             Row{"mysql", {{"", mysqlGreeting('\x07')}}, "does not offer TLS"},
             Row{"mysql",
                 {{"",
                   "\x0A\0\0\0\xFF\x69\x04"
                   "blo\0ked"s}},
                 "refuses TLS: \"blo ked\"; enable"},
         }) {
        EXPECT_THAT(failureWith(row.protocol, row.script), HasSubstr(row.words)) << row.protocol;
    }
}

// ---- Real servers ---------------------------------------------------------------------------------------------------

// `openssl s_server`.
class TlsServer {
public:
    TlsServer(const Identity& leaf, const Arguments& more, const std::string& host = "127.0.0.1")
        : process_(joined({"openssl", "s_server", "-www", "-accept", host + ":0", "-cert",
                           files_.write("leaf.pem", leaf.certificatePem()), "-key",
                           files_.write("leaf.key", leaf.key.pem())},
                          more),
                   files_.file("output")) {
        const std::string begin = "ACCEPT " + host + ":";
        std::string output = process_.waitForOutput(begin);
        label = host + ":" + std::to_string(std::atoi(output.c_str() + output.find(begin) + begin.size()));
    }
    std::string label;

private:
    TempDir files_;
    BackgroundProcess process_;
};

// Checks the server in this process, which shows all that is printed and more.
class ConnectOption : public CommandTest {
protected:
    std::vector<CheckResult> resultsFor(const std::string& address, const std::string& responder,
                                        bool wholeChain = false) const {
        tallow::cli::CheckOptions options;
        options.settings = settings;
        options.trust = trusted;
        options.crls = crls;
        options.url = responder;
        options.server = {address, "", "", wholeChain};
        options.nonce = tallow::Nonce::kOff;
        std::size_t numDone = 0;
        const auto results = runCheck(options, [&numDone](const CheckResult&) { ++numDone; });
        EXPECT_EQ(numDone, results.size());
        return results;
    }

    std::string settings = tallow.file("own.toml", machineSettings(tallow.folder()));
    Arguments trusted{root};
    Arguments crls;
};

TEST_F(ConnectOption, ReportsWhatTheStapleProves) {
    const Identity mustStaple =
        issue(certs().root, {.commonName = "must", .extensions = {{"1.3.6.1.5.5.7.1.24", {0x30, 3, 2, 1, 5}}}});
    const Identity other = rootCa("other");
    const Identity& leafOf = certs().good;
    ResponseSpec expired = goodResponse();
    expired.entries[0].thisUpdate = generalizedTimeText(-7200);
    expired.entries[0].nextUpdate = generalizedTimeText(-3600);
    ResponseSpec future = goodResponse();
    future.entries[0].thisUpdate = generalizedTimeText(1800);
    ResponseSpec altered = goodResponse();
    altered.corruptSignature = true;
    ResponseSpec foreign = goodResponse();
    foreign.signer = other;
    ResponseSpec expiredForeign = expired;
    expiredForeign.signer = other;
    ResponseSpec refusal = goodResponse();
    refusal.responseStatus = 3;
    struct Row {
        const Identity& leaf;
        std::optional<ResponseSpec> staple;
        const char* state;
        int exitStatus = 0;
    };
    for (const Row& row : {
             Row{leafOf, {}, "missing"},
             Row{leafOf, goodResponse(), "good"},
             Row{leafOf, responseAbout(leafOf, EntryStatus::kRevoked), "revoked", 3},
             Row{leafOf, responseAbout(leafOf, EntryStatus::kUnknown), "unknown"},
             Row{leafOf, responseAbout(certs().revoked, EntryStatus::kGood), "wrong certificate"},
             Row{leafOf, expired, "expired"},
             Row{leafOf, future, "not proven"},
             Row{leafOf, altered, "not proven"},
             Row{leafOf, foreign, "not proven"},
             Row{leafOf, expiredForeign, "not proven"},
             Row{leafOf, refusal, "not proven"},
             Row{mustStaple, {}, "missing", 3},
             Row{mustStaple, responseAbout(mustStaple, EntryStatus::kGood), "good"},
             Row{mustStaple, responseAbout(leafOf, EntryStatus::kGood), "wrong certificate", 3},
         }) {
        SCOPED_TRACE(std::string(row.state) + (&row.leaf == &mustStaple ? ", required" : ""));
        const HttpServer responder = serverOf(responseAbout(row.leaf, EntryStatus::kGood));
        Arguments arguments{&row.leaf == &mustStaple ? "-tls1_2" : "-tls1_3"};
        if (row.staple) {
            arguments = joined(arguments, {"-status_file", tallow.file("staple.der", buildResponse(*row.staple))});
        }
        const TlsServer server(row.leaf, arguments);
        const auto results = resultsFor(server.label, responder.url());
        ASSERT_EQ(results.size(), 1U);
        EXPECT_EQ(results[0].file, server.label);
        EXPECT_EQ(results[0].state, tallow::cli::CertificateState::kGood);
        ASSERT_TRUE(results[0].staple.has_value());
        EXPECT_EQ(results[0].staple->state, row.state) << results[0].staple->text;
        EXPECT_EQ(results[0].staple->text.empty(), results[0].staple->state == "good");
        EXPECT_EQ(results[0].staple->isRequired, &row.leaf == &mustStaple);
        const ProcessResult run = tallow.check({"--connect", server.label, "--no-nonce", "--url", responder.url()});
        EXPECT_EQ(run.exitStatus, row.exitStatus) << run.err;
        EXPECT_EQ(numLines(run.err), row.exitStatus == 0 ? 0U : 1U);
    }
}

TEST_F(ConnectOption, DoesNotLetAStapleReplaceTheAnswerOfTheResponder) {
    const TlsServer server(certs().good, {"-status_file", tallow.file("staple.der", buildResponse(goodResponse()))});
    const auto results = resultsFor(server.label, deadUrl());
    EXPECT_EQ(results.at(0).state, tallow::cli::CertificateState::kError);
    EXPECT_EQ(results.at(0).staple->state, "good");
    EXPECT_EQ(exitStatusOf(results), 3);
}

TEST_F(ConnectOption, ChecksTheWholeChainWithItsCertificatesAsIssuersButNeverAsRoots) {
    settings =
        tallow.file("own.toml", machineSettings(tallow.folder()) + "[config.cades.ocsppolicy]\nAuthorizedOCSPs = [\"" +
                                    toUpperHex(digest(kSha1Oid, certs().delegate.certificate)) + "\"]\n");
    const Identity ca = issue(certs().root, {.commonName = "chain CA", .ca = true});
    const Identity leafOfCa = issue(ca, {.commonName = "chain leaf"});
    crls = {tallow.file("root.crl", makeCrl(certs().root, {}))};
    const ResponseSpec both(certs().delegate,
                            {EntrySpec(certIdOf(leafOfCa, ca)), EntrySpec(certIdOf(ca, certs().root))});
    const HttpServer responder = serverOf(both);
    // Its own certificate twice, and the root.
    const std::string sent =
        tallow.file("sent.pem", leafOfCa.certificatePem() + ca.certificatePem() + certs().root.certificatePem());
    const TlsServer server(leafOfCa, {"-cert_chain", sent});
    for (const bool wholeChain : {false, true}) {
        const auto results = resultsFor(server.label, responder.url(), wholeChain);
        ASSERT_EQ(results.size(), wholeChain ? 2U : 1U);
        EXPECT_EQ(results[0].subject, "CN=chain leaf");
        EXPECT_EQ(exitStatusOf(results), 0) << results[0].verdict.cause << results.back().verdict.cause;
        EXPECT_EQ(results.back().staple.has_value(), !wholeChain);
    }
    EXPECT_EQ(resultsFor(server.label, responder.url(), true)[1].file, server.label + "#3");
    trusted.clear();
    const auto untrusted = resultsFor(server.label, responder.url(), true);
    EXPECT_EQ(untrusted[0].state, tallow::cli::CertificateState::kError);
    EXPECT_EQ(untrusted[1].state, tallow::cli::CertificateState::kError);
}

TEST_F(ConnectOption, SendsTheNameAndReadsServersThatInsistOnACertificateOrUseIpv6) {
    const HttpServer responder = serverOf(goodResponse());
    const Identity named = issue(certs().root, {.commonName = "named"});
    const Arguments bySni{"-servername", "b.example", "-cert2",
                          leaf,          "-key2",     tallow.file("good.key", certs().good.key.pem())};
    const TlsServer server(named, bySni);
    const Arguments ask{"--no-nonce", "--url", responder.url(), "--connect"};
    EXPECT_EQ(tallow.check(joined(ask, {server.label, "--servername", "b.example"})).exitStatus, 0);
    EXPECT_EQ(tallow.check(joined(ask, {server.label})).exitStatus, 3);  // the other certificate
    for (const char* version : {"-tls1_2", "-tls1_3"}) {
        const TlsServer strict(certs().good, {"-Verify", "1", version});
        EXPECT_EQ(resultsFor(strict.label, responder.url()).at(0).verdict.cause, "") << version;
    }
    if (std::ifstream("/proc/net/if_inet6").peek() != std::ifstream::traits_type::eof()) {
        const TlsServer six(certs().good, {}, "[::1]");
        EXPECT_EQ(resultsFor(six.label, responder.url()).at(0).verdict.cause, "");
    }
}

// OpenSSL skips HelloRequest, as long as more of them is there to be read.
TEST_F(ConnectOption, EndsInTimeWhenTheServerSendsSkippedMessagesForEver) {
    std::string requests;
    for (int i = 0; i < 100000; ++i) {
        requests += "\x16\x03\x03\0\x04\0\0\0\0"s;
    }
    const Script flood{{"", requests, true}};
    EXPECT_THAT(failureWith("", flood, 300ms), HasSubstr("within 300 ms"));
    const TalkingServer server(flood);
    const Command secure("system_bundle = \"" + root + "\"\n");
    expectError(
        secure.check({"--json", "--timeout", "0.3", "--url", "https://127.0.0.1:" + std::to_string(server.port), leaf}),
        "0x80072EE2", {"within the time limit of the check, 0.3 s"});
}

TEST_F(ConnectOption, ReportsAServerThatGivesNoCertificateInOneLineAndGoesOn) {
    const TalkingServer greeting(Script{{"", "220 mail\r\n"}});
    const TalkingServer silent(Script{{"x", ""}});
    const HttpServer responder = serverOf(goodResponse());
    const TlsServer old(certs().good, {"-tls1_1", "-cipher", "ALL:@SECLEVEL=0"});
    const auto labelOf = [](int port) { return "127.0.0.1:" + std::to_string(port); };
    struct Row {
        std::string label;
        Arguments more;
        std::vector<std::string> words;
    };
    for (const Row& row : {
             Row{labelOf(closedPort()),
                 {"--proxy", "http://127.0.0.1:1"},
                 {"0x80072EFD", "refused", "not through --proxy"}},
             Row{labelOf(greeting.port), {}, {"0x80072F8F", "TLS handshake: ", "--starttls"}},
             Row{old.label, {}, {"0x80072F8F", "TLS handshake: "}},
             Row{labelOf(silent.port), {"--timeout", "0.2", "--starttls", "imap"}, {"0x80072EE2", "within 200 ms"}},
         }) {
        const Arguments files = row.more.empty() ? Arguments{leaf} : Arguments{};
        const ProcessResult run = tallow.check(
            joined(joined({"--no-nonce", "--url", responder.url(), "--connect", row.label}, files), row.more));
        expectOneLine(run, 3, joined({"tallow: " + row.label + ": "}, row.words));
        EXPECT_THAT(run.out, testing::StartsWith(row.label + ": error\n"));
        EXPECT_THAT(run.out, HasSubstr(files.empty() ? "" : "leaf.pem: good\n"));
    }
}

}  // namespace
