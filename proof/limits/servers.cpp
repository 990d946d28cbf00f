// Drivers for TLS servers, by the command: what such a server says before TLS, what it sends, and how long it takes.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <stdexcept>
#include <thread>

#include "proof/limits/driver.h"
#include "proof/limits/scene.h"
#include "tests/support/openssl_ptr.h"

namespace proof {

using namespace testkit;

namespace {

using SslPtr = std::unique_ptr<SSL, FreeWith<SSL_free>>;
using SslContextPtr = std::unique_ptr<SSL_CTX, FreeWith<SSL_CTX_free>>;

// What the server says before TLS, in the order of SMTP. Empty: TLS begins at once.
struct Dialogue {
    std::string greeting, capabilities, goAhead;
};

const Dialogue kUsual = {"220 host\r\n", "250-host\r\n250 STARTTLS\r\n", "220 go\r\n"};

// Serves one connection after the other, until the process of the driver ends.
class TlsServer {
public:
    TlsServer(std::vector<Identity> chain, Dialogue dialogue, const std::string& address = "127.0.0.1", int port = 0)
        : dialogue_(std::move(dialogue)), context_(SSL_CTX_new(TLS_server_method())) {
        std::signal(SIGPIPE, SIG_IGN);
        require(SSL_CTX_use_certificate(context_.get(), parseCertificate(chain.at(0).certificate).get()) == 1 &&
                    SSL_CTX_use_PrivateKey(context_.get(), chain.at(0).key.get()) == 1,
                "setting up TLS");
        for (std::size_t i = 1; i < chain.size(); ++i) {
            require(SSL_CTX_add1_chain_cert(context_.get(), parseCertificate(chain[i].certificate).get()) == 1,
                    "setting up TLS");
        }
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in place{};
        place.sin_family = AF_INET;
        place.sin_port = htons(static_cast<std::uint16_t>(port));
        ::inet_pton(AF_INET, address.c_str(), &place.sin_addr);
        socklen_t size = sizeof place;
        if (::bind(listener_, reinterpret_cast<sockaddr*>(&place), sizeof place) != 0 || ::listen(listener_, 8) != 0 ||
            ::getsockname(listener_, reinterpret_cast<sockaddr*>(&place), &size) != 0) {
            throw std::runtime_error("no port for a server");
        }
        port_ = ntohs(place.sin_port);
        std::thread([this] { serve(); }).detach();
    }
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;

    int port() const { return port_; }
    int numConnections() const { return numConnections_; }

private:
    void serve() {
        for (;;) {
            const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0) {
                return;
            }
            ++numConnections_;
            talk(connection);
            ::close(connection);
        }
    }

    void talk(int connection) {
        const auto say = [&](const std::string& text) { ::send(connection, text.data(), text.size(), MSG_NOSIGNAL); };
        const auto listen = [&] {
            char octets[4096];
            return ::recv(connection, octets, sizeof octets, 0) > 0;
        };
        if (!dialogue_.greeting.empty()) {
            say(dialogue_.greeting);
            if (!listen()) {
                return;
            }
            say(dialogue_.capabilities);
            if (!listen()) {
                return;
            }
            say(dialogue_.goAhead);
        }
        const SslPtr session(SSL_new(context_.get()));
        SSL_set_fd(session.get(), connection);
        if (SSL_accept(session.get()) == 1) {
            SSL_shutdown(session.get());
        }
    }

    Dialogue dialogue_;
    SslContextPtr context_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<int> numConnections_ = 0;
};

std::string resultOf(Probe& probe, const std::vector<std::string>& arguments, int timeoutMs = 30000,
                     const std::vector<std::string>& environment = {}) {
    const Machine machine;
    std::vector<std::string> all = {"check"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const ProcessResult result = command(probe.command, machine, all, timeoutMs, environment);
    probe.expect(result.exitStatus == 3, "exit status 3: " + result.out + result.err);
    return result.out + result.err;
}

std::string smtpResult(Probe& probe, const Dialogue& dialogue) {
    TlsServer& server = *new TlsServer({selfSigned({.commonName = "site"})}, dialogue);
    return resultOf(probe, {"--connect", "127.0.0.1:" + std::to_string(server.port()), "--starttls", "smtp"});
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

bool hasCommand(const Probe& probe) {
    return !probe.command.empty();
}

// The greeting takes for ever, or the handshake.
void takes30Seconds(Probe& probe) {
    if (!hasCommand(probe)) {
        return;
    }
    const int silent = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);  // the system accepts, no program answers
    require(::listen(silent, 8) == 0, "listening");
    sockaddr_in place{};
    socklen_t size = sizeof place;
    ::getsockname(silent, reinterpret_cast<sockaddr*>(&place), &size);
    const std::string address = "127.0.0.1:" + std::to_string(ntohs(place.sin_port));
    std::vector<std::thread> threads;
    for (const char* const protocol : {"", "smtp"}) {
        for (const bool isOwn : {false, true}) {
            threads.emplace_back([&probe, address, protocol, isOwn] {
                std::vector<std::string> arguments = {"--connect", address};
                if (*protocol != '\0') {
                    arguments.insert(arguments.end(), {"--starttls", protocol});
                }
                if (isOwn) {
                    arguments.insert(arguments.end(), {"--timeout", "2"});
                }
                const double seconds = secondsOf([&] { resultOf(probe, arguments, 45000); });
                const double limit = isOwn ? 2 : 30;
                probe.expectWithin(seconds, limit - 0.1, limit + kLate, "seconds of the command");
            });
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::_Exit(0);
}

// A name with twenty addresses, of which one has a server.
void tries16Addresses(Probe& probe) {
    if (!hasCommand(probe)) {
        return;
    }
    std::string names = "many.test=";
    for (int i = 1; i <= 20; ++i) {
        names += "127.0.2." + std::to_string(i) + ",";
    }
    for (const int at : {16, 17}) {
        TlsServer& server = *new TlsServer({selfSigned({.commonName = "site"})}, {}, "127.0.2." + std::to_string(at));
        resultOf(
            probe, {"--connect", "many.test:" + std::to_string(server.port())}, 30000,
            {"LD_PRELOAD=" NETWORK_CALLS_LIBRARY, "TALLOW_NAMES=" + names, "ASAN_OPTIONS=verify_asan_link_order=0"});
        probe.expect((server.numConnections() > 0) == (at == 16), "the 16th address is contacted, and the 17th is not");
    }
}

// Lines "220-aaa", the last one "220 a", that have `octets` octets together.
std::string greeting(int numLines, std::size_t octets) {
    std::string text;
    for (int i = 0; i < numLines; ++i) {
        const auto left = static_cast<std::size_t>(numLines - i);
        const std::size_t size = (octets - text.size()) / left;
        text += (left == 1 ? "220 " : "220-") + std::string(size - 6, 'a') + "\r\n";
    }
    return text;
}

void reads64KiBBeforeTls(Probe& probe) {
    if (!hasCommand(probe)) {
        return;
    }
    constexpr std::size_t kLimit = 65536;
    constexpr std::size_t kLine = 4096;  // without the line feed
    const std::size_t others = kUsual.capabilities.size() + kUsual.goAhead.size();
    const auto greeted = [&](int numLines, std::size_t octets) {
        return smtpResult(probe, {greeting(numLines, octets), kUsual.capabilities, kUsual.goAhead});
    };
    probe.expect(!contains(greeted(20, kLimit - others), "before TLS"), "64 KiB are read");
    probe.expect(contains(greeted(20, kLimit - others + 1), "more than 64 KiB before TLS"), "one octet more is not");
    probe.expect(!contains(greeted(61, 61 * 20), "before TLS"), "64 lines are read");
    probe.expect(contains(greeted(62, 62 * 20), "more than 64 lines before TLS"), "one line more is not");
    probe.expect(!contains(greeted(1, kLine + 1), "before TLS"), "a line of 4 KiB is read");
    probe.expect(contains(greeted(1, kLine + 2), "a line of more than 4 KiB before TLS"), "one octet more is not");
    std::string endless(1 << 20, 'a');
    probe.expect(contains(smtpResult(probe, {endless, "", ""}), "a line of more than 4 KiB before TLS"),
                 "nor an endless line");
    probe.expect(
        contains(smtpResult(probe, {kUsual.greeting, kUsual.capabilities, kUsual.goAhead + "x"}), "after its go-ahead"),
        "an octet after the go-ahead is refused");
}

// A certificate with a long extension.
Identity siteOfSize(std::size_t octets) {
    return selfSigned({.commonName = "site", .extensions = {{"1.2.3", Bytes(octets)}}});
}

void reads100KiBOfCertificates(Probe& probe) {
    if (!hasCommand(probe)) {
        return;
    }
    const auto isRead = [&](std::size_t octets) {
        TlsServer& server = *new TlsServer({siteOfSize(octets)}, {});
        return !contains(resultOf(probe, {"--connect", "127.0.0.1:" + std::to_string(server.port())}), "handshake");
    };
    constexpr std::size_t kKiB = 1024;
    probe.expect(isRead(98 * kKiB), "a certificate of 98 KiB is read");
    probe.expect(!isRead(101 * kKiB), "one of 101 KiB is not");
}

void checks16Certificates(Probe& probe) {
    if (!hasCommand(probe)) {
        return;
    }
    const Identity ca = rootCa("ca");
    for (const int count : {16, 17, 40}) {
        std::vector<Identity> chain;
        for (int i = 0; i < count; ++i) {
            chain.push_back(issue(ca, {.commonName = "site " + std::to_string(i)}));
        }
        TlsServer& server = *new TlsServer(chain, {});
        const std::string text =
            resultOf(probe, {"--connect", "127.0.0.1:" + std::to_string(server.port()), "--chain", "--jsonl"});
        probe.expect(contains(text, "#16\"") && !contains(text, "#18\""), "16 results, and one for the others");
        probe.expect(contains(text, "more than 16 certificates") == (count > 16),
                     "that others are not checked is said");
    }
}

}  // namespace

std::vector<Driver> serverDrivers() {
    constexpr const char* kServer = "a TLS server (`check --connect`)";
    return {
        {kServer, "30 s or `--timeout` for name, connection, dialogue and handshake together", takes30Seconds, 30},
        {kServer, "16 addresses", tries16Addresses},
        {kServer, "64 KiB, 64 lines and 4 KiB a line before TLS, and nothing after the go-ahead", reads64KiBBeforeTls},
        {kServer, "100 KiB of certificates", reads100KiBOfCertificates},
        {kServer, "16 certificates checked", checks16Certificates},
    };
}

}  // namespace proof
