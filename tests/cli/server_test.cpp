// Where a server is, and the dialogues before TLS.
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <thread>

#include "cli/server/server_certificates.h"
#include "cli/server/server_failure.h"
#include "tests/cli/command.h"
#include "tests/support/openssl_ptr.h"

namespace {

using namespace testkit;
using namespace std::chrono_literals;
using namespace std::string_literals;
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
}

// ---- StartTLS -------------------------------------------------------------------------------------------------------

struct Turn {
    std::string expected;  // what the client must send first
    std::string reply;
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
            if (size != static_cast<ssize_t>(heard.size()) || heard != turn.expected ||
                ::send(client, turn.reply.data(), turn.reply.size(), MSG_NOSIGNAL) < 0) {
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
             Row{"smtp", {{"", "554 no\r\n"}}, "refuses TLS: \"554 no\""},
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
                   "blocked"s}},
                 "refuses TLS: \"blocked\""},
         }) {
        EXPECT_THAT(failureWith(row.protocol, row.script), HasSubstr(row.words)) << row.protocol;
    }
}

}  // namespace
