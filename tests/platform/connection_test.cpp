// Connections that serve several exchanges: when they do, and that no answer is ever taken for that of another request.
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/support/fork_gate.h"
#include "tests/platform/certificate_fixture.h"
#include "tests/platform/exchange_fixture.h"
#include "tests/support/http_server.h"
#include "tests/support/process.h"
#include "tests/support/repeating_threads.h"
#include "tests/support/settings_file.h"
#include "tests/support/temp_dir.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

HttpReply kept(const HttpRequest& request) {
    return {.body = request.body, .after = AfterReply::kNextRequest};
}

HttpReply raw(const std::string& text, AfterReply after = AfterReply::kNextRequest) {
    return {.rawReply = bytesOf(text), .after = after};
}

std::string answerText(const std::string& body, const std::string& headers = {}) {
    return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

// An answer of `size` octets. The server writes 1024 of them at a time.
std::string answerOfSize(std::size_t size) {
    const std::string empty = answerText("first", "X: \r\n");
    return answerText("first", "X: " + std::string(size - empty.size(), 'x') + "\r\n");
}

void sleepMs(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// What a server sends first and second. All later answers are good ones.
struct Row {
    const char* what;
    HttpReply first;
    int connections;
    HttpReply second = {.body = bytesOf("second"), .after = AfterReply::kNextRequest};
    std::size_t requests = 2;
    DWORD lastError = 0;  // of the second exchange
};

void expectRow(const Row& row, const Identity* tls = nullptr) {
    SCOPED_TRACE(row.what);
    std::atomic<int> count{0};
    HttpServer server(
        [&](const HttpRequest& request) {
            const int number = count++;
            return number == 0 ? row.first : number == 1 ? row.second : kept(request);
        },
        tls);
    post(server.url(), bytesOf("first"));
    sleepMs(100);  // what comes late has come
    const PostResult second = post(server.url(), bytesOf("second"));
    EXPECT_EQ(second.lastError, row.lastError);
    EXPECT_EQ(second.body, row.lastError == 0 ? bytesOf("second") : Bytes());
    EXPECT_EQ(server.numConnections(), row.connections);
    EXPECT_EQ(server.requests().size(), row.requests);
    EXPECT_EQ(post(server.url(), bytesOf("third")).body, bytesOf("third"));
}

TEST(Connection, ServesAnotherExchangeOnlyAfterAnExactAnswer) {
    const SettingsFile settings(
        "[crypto]\nexchange_timeout_ms = 900\n");  // a busy machine needs it, and a kept connection gets a second
    const Bytes body = bytesOf("first");
    const HttpReply good{.body = body, .after = AfterReply::kNextRequest};
    const HttpReply silent{.body = body, .delayMs = 1200};
    const Row rows[] = {
        {"plain", good, 1},
        {"empty", {.after = AfterReply::kNextRequest}, 1},
        {"announced close", {.body = body}, 2},
        {"close without announcement", {.body = body, .after = AfterReply::kCloseUnannounced}, 2},
        {"chunked", {.body = body, .framing = BodyFraming::kChunked, .after = AfterReply::kNextRequest}, 2},
        {"status 500", {.status = 500, .body = body, .after = AfterReply::kNextRequest}, 2},
        {"two answers in one go", raw(answerText("first") + answerText("forged")), 2},
        {"garbage in one go", raw(answerText("first") + "garbage"), 2},
        {"interim answer first", raw("HTTP/1.1 103 Early Hints\r\n\r\n" + answerText("first")), 2},
        {"two lengths", raw(answerText("first", "Content-Length: 5\r\n")), 2},
        {"HTTP/1.0", raw("HTTP/1.0 200 OK\r\nConnection: keep-alive\r\nContent-Length: 1\r\n\r\nx"), 2},
        {"closed instead of the second answer", good, 2, {.closeAtOnce = true}, 3},
        {"half a status line", good, 2, raw("HTTP/1.1 2", AfterReply::kClose), 3},
        {"408 in place of the answer", good, 2, {.status = 408}, 3},
        {"half a body", good, 1, raw("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nsec", AfterReply::kClose), 2,
         ERROR_INTERNET_CONNECTION_ABORTED},
        {"no HTTP, as when more than the first answer was sent", good, 2, raw("\r\n" + answerText("forged")), 3},
        {"silence", good, 1, silent, 2, ERROR_INTERNET_TIMEOUT},
    };
    for (const Row& row : rows) {
        expectRow(row);
    }
    HttpReply late = raw(answerOfSize(1024) + answerText("forged"));
    late.pauseEachKilobyteMs = 10;
    expectRow({"a second answer later", late, 2});
}

// A server, or something before it, that answers once and then leaves the connection open.
TEST(Connection, IsGivenUpWhenTheServerForgotIt) {
    const SettingsFile settings("[crypto]\nexchange_timeout_ms = 20000\n");
    const HttpReply late{.body = bytesOf("late"), .delayMs = 3500};
    std::atomic<int> count{0};
    HttpServer server([&](const HttpRequest& request) { return count++ == 1 ? late : kept(request); });
    for (const char* text : {"first", "second", "third", "fourth"}) {
        EXPECT_EQ(post(server.url(), bytesOf(text)).body, bytesOf(text));
    }
    EXPECT_EQ(server.numConnections(), 4) << "no more connections are kept to such a server";
    EXPECT_EQ(server.requests().size(), 5u);
}

TEST(Connection, MakesRoomForAnotherOneWhenNoDescriptorIsLeft) {
    std::vector<std::unique_ptr<HttpServer>> servers;
    const std::string dead = "http://127.0.0.1:" + std::to_string(closedPort()) + "/";
    for (int i = 0; i < 4; ++i) {  // libcurl needs descriptors of its own besides that of a connection
        servers.push_back(std::make_unique<HttpServer>(kept));
        EXPECT_EQ(post(servers.back()->url(), bytesOf("x")).lastError, 0U);
    }
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 64;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<int> taken;
    const auto takeAll = [&taken] {
        for (int one = ::dup(0); one >= 0; one = ::dup(0)) {
            taken.push_back(one);
        }
    };
    takeAll();
    const DWORD instead = post(dead, bytesOf("x")).lastError;  // of the idle connections
    servers.clear();                                           // their ends of those close a moment later
    takeAll();
    const DWORD none = post(dead, bytesOf("x")).lastError;
    const DWORD unresolved = post("http://localhost:1/", bytesOf("x")).lastError;
    for (const int one : taken) {
        ::close(one);
    }
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(instead, static_cast<DWORD>(ERROR_INTERNET_CANNOT_CONNECT));
    EXPECT_EQ(none, static_cast<DWORD>(ERROR_TOO_MANY_OPEN_FILES));
    EXPECT_EQ(unresolved, static_cast<DWORD>(ERROR_TOO_MANY_OPEN_FILES));
}

TEST(Connection, IsOfOneServerAndOfRequestsWithoutLogin) {
    HttpServer server(kept);
    HttpServer other(kept);
    const std::string url = server.url();
    const std::string login = "http://user:word@" + url.substr(7);
    const auto connectionsOf = [&](const auto& exchange) {
        post(url, bytesOf("before"));
        const int before = server.numConnections();
        exchange();
        return server.numConnections() - before;
    };
    const Bytes body = bytesOf("x");
    EXPECT_EQ(connectionsOf([&] { post(url, body); }), 0);
    EXPECT_EQ(connectionsOf([&] { post(other.url(), body); }), 0);
    EXPECT_EQ(connectionsOf([&] { post(login, body); }), 1);
    const auto throughProxy = [&] { post(url, body, server.url("")); };
    EXPECT_EQ(connectionsOf([&] { throughProxy(), throughProxy(); }), 2);
    EXPECT_EQ(connectionsOf([&] { post(url, body, {}, {}, L"a", L"Authorization: Basic eA=="); }), 1);
    {
        const SettingsFile none("[crypto]\nconnection_idle_ms = 0\n");
        EXPECT_EQ(connectionsOf([&] { post(url, body); }), 1);
    }
    {
        const SettingsFile brief("[crypto]\nconnection_idle_ms = 40\n");
        EXPECT_EQ(connectionsOf([&] { sleepMs(60), post(url, body); }), 1);
    }
    // A rule for addresses holds for an open connection too.
    const SettingsFile strict("[crypto]\nrefuse_private_addresses = true\n");
    EXPECT_EQ(connectionsOf([&] {
                  const Check check;
                  EXPECT_EQ(post(url, body).lastError, ERROR_NETWORK_ACCESS_DENIED);
              }),
              0);
    EXPECT_EQ(connectionsOf([&] { post(url, body); }), 0);
}

// The certificate of a server on 127.0.0.1, and a machine that trusts its root.
struct TrustedServer {
    const Identity root = rootCa("tls root");
    const Identity identity =
        issue(root, {.extensions = {{"2.5.29.17", tlv::sequence({tlv::contextPrimitive(7, Bytes{127, 0, 0, 1})})}}});
    const TempDir folder;
    const std::string bundle = folder.write("bundle.pem", root.certificatePem());
    const SettingsFile settings{"[crypto]\nsystem_bundle = \"" + bundle + "\"\n"};
};

TEST(Connection, OverTlsNeedsTheSameRoots) {
    const TrustedServer trusted;
    const Identity& identity = trusted.identity;
    HttpReply split = raw(answerOfSize(1024) + answerText("forged"));
    split.pauseEachKilobyteMs = 10;
    const HttpReply plain{.body = bytesOf("first"), .after = AfterReply::kNextRequest};
    expectRow({"plain", plain, 1}, &identity);
    expectRow({"end of one and another answer in one record", raw(answerOfSize(1026) + answerText("forged")), 2},
              &identity);
    expectRow({"two answers in one record", raw(answerText("first") + answerText("forged")), 2}, &identity);
    expectRow({"a second answer later", split, 2}, &identity);
    expectRow({"close without announcement", {.body = bytesOf("x"), .after = AfterReply::kCloseUnannounced}, 2},
              &identity);
    expectRow({"closed instead of the second answer", plain, 2, {.closeAtOnce = true}, 3}, &identity);

    HttpServer server(kept, &identity);
    EXPECT_EQ(post(server.url(), bytesOf("x")).status, 200u);
    trusted.folder.write("bundle.pem", rootCa("other root").certificatePem());
    EXPECT_EQ(post(server.url(), bytesOf("x")).lastError, ERROR_INTERNET_SECURE_FAILURE);
}

TEST(Connection, StaysWithItsProcess) {
    const TrustedServer trusted;
    for (const Identity* const tls : {static_cast<const Identity*>(nullptr), &trusted.identity}) {
        HttpServer server(kept, tls);
        EXPECT_EQ(post(server.url(), bytesOf("x")).status, 200u);
        EXPECT_TRUE(isTrueInChild([&server] {
            return post(server.url(), bytesOf("child")).body == bytesOf("child") &&
                   post(server.url(), bytesOf("child")).body == bytesOf("child");
        }));
        EXPECT_EQ(server.numConnections(), 2);
        EXPECT_EQ(post(server.url(), bytesOf("parent")).body, bytesOf("parent"));
        EXPECT_EQ(server.numConnections(), 2) << "the child ended the connection of its parent";
    }
}

// Whether this process has a connection to that port of the machine.
bool hasConnectionTo(int port) {
    for (int one = 0; one < 1024; ++one) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        if (::getpeername(one, reinterpret_cast<sockaddr*>(&peer), &size) == 0 && peer.sin_family == AF_INET &&
            ntohs(peer.sin_port) == port) {
            return true;
        }
    }
    return false;
}

// Until the child ends, a server would otherwise wait for more requests over it.
TEST(Connection, InUseElsewhereIsClosedByTheFirstExchangeOfAChild) {
    HttpServer other(kept);
    std::atomic<bool> isAsked{false};
    HttpServer slow([&isAsked](const HttpRequest&) {
        isAsked = true;
        return HttpReply{.body = bytesOf("late"), .delayMs = 700, .after = AfterReply::kNextRequest};
    });
    std::jthread asking([&slow] { EXPECT_EQ(post(slow.url(), bytesOf("x")).body, bytesOf("late")); });
    while (!isAsked) {
        sleepMs(1);
    }
    EXPECT_TRUE(isTrueInChild([&] {
        return hasConnectionTo(slow.port()) && post(other.url(), bytesOf("x")).status == 200 &&
               !hasConnectionTo(slow.port());
    }));
}

std::size_t numDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// Nothing of it stays in a child, not what libcurl has besides the connection either.
TEST(Connection, InUseElsewhereLeavesNoDescriptorInAChild) {
    HttpServer server(kept);
    HttpServer slow([](const HttpRequest&) { return HttpReply{.body = bytesOf("late"), .delayMs = 700}; });
    EXPECT_EQ(post(server.url(), bytesOf("x")).status, 200u);
    const std::size_t before = numDescriptors();
    std::vector<std::jthread> asking;
    for (int i = 0; i < 3; ++i) {
        asking.emplace_back([&slow] { EXPECT_EQ(post(slow.url(), bytesOf("x")).body, bytesOf("late")); });
    }
    while (slow.requests().size() < 3) {
        sleepMs(1);
    }
    EXPECT_TRUE(isTrueInChild([&] {
        const std::size_t numServers = slow.requests().size();  // the test's server has a descriptor for each request
        return post(server.url(), bytesOf("x")).status == 200 && numDescriptors() <= before + numServers;
    }));
}

// A daemon closes what it inherits, and opens its own files.
TEST(Connection, OfAParentHasNumbersThatADaemonUsesForItsFiles) {
    HttpServer server(kept);
    EXPECT_EQ(post(server.url(), bytesOf("x")).status, 200u);
    EXPECT_TRUE(isTrueInChild([&server] {
        std::vector<std::pair<int, ino_t>> own;
        struct stat status {};
        ::close_range(STDERR_FILENO + 1, 1024, 0);
        while (own.size() < 40) {
            const int file = ::memfd_create("own", 0);
            ::fstat(file, &status);
            own.emplace_back(file, status.st_ino);
        }
        const bool isAnswered = post(server.url(), bytesOf("child")).body == bytesOf("child");
        return isAnswered && std::all_of(own.begin(), own.end(), [&status](const auto& file) {
                   return ::fstat(file.first, &status) == 0 && status.st_ino == file.second;
               });
    }));
    EXPECT_EQ(post(server.url(), bytesOf("parent")).body, bytesOf("parent"));
}

TEST(Connection, IsNotInheritedByAProgram) {
    const std::vector<std::string> list{"/bin/sh", "-c", "ls -l /proc/self/fd | grep -c socket:"};
    const std::string before = run(list).out;
    HttpServer server(kept);
    EXPECT_EQ(post(server.url(), bytesOf("x")).status, 200u);
    EXPECT_EQ(run(list).out, before);
}

TEST(Connection, LeavesTheHandlingOfSignalsToTheProcess) {
    const TrustedServer trusted;
    const HttpReply closed{.body = bytesOf("x"), .after = AfterReply::kCloseUnannounced};
    HttpServer server([&closed](const HttpRequest&) { return closed; }, &trusted.identity);
    auto* const before = std::signal(SIGPIPE, SIG_DFL);
    std::atomic<bool> isOver{false};
    bool isChanged = false;
    std::jthread watching([&] {
        struct sigaction now {};
        while (!isOver) {
            ::sigaction(SIGPIPE, nullptr, &now);
            isChanged = isChanged || now.sa_handler != SIG_DFL;
        }
    });
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ(post(server.url(), bytesOf("x")).status, 200u);
    }
    isOver = true;
    watching.join();
    sigset_t blocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_FALSE(isChanged);
    EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0);
    std::signal(SIGPIPE, before);
}

// A server that ends every handshake. It has no TLS of its own, which would use OpenSSL outside of the services.
class EndingServer {
public:
    EndingServer() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
        ::listen(listener_, 8);
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        url = "https://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
        thread_ = std::jthread([this] {
            for (int open = ::accept(listener_, nullptr, nullptr); open >= 0;
                 open = ::accept(listener_, nullptr, nullptr)) {
                char hello = 0;
                ::recv(open, &hello, 1, 0);
                ::close(open);
            }
        });
    }
    ~EndingServer() {
        ::shutdown(listener_, SHUT_RDWR);
        thread_.join();
        ::close(listener_);
    }
    EndingServer(const EndingServer&) = delete;
    EndingServer& operator=(const EndingServer&) = delete;

    std::string url;

private:
    const int listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    std::jthread thread_;
};

// Reading the roots and beginning a handshake take locks of OpenSSL.
TEST(Connection, LeavesNoLockHeldInAChild) {
    const TrustedServer trusted;
    std::string roots;
    for (int i = 0; i < 100; ++i) {
        roots += trusted.root.certificatePem();
    }
    trusted.folder.write("bundle.pem", roots);
    const EndingServer server;
    const auto isEnded = [&server] {
        const tallow::platform::ForkGate gate;  // also around what the test allocates
        return post(server.url, bytesOf("x")).lastError == ERROR_INTERNET_SECURE_FAILURE;
    };
    ASSERT_TRUE(isEnded());
    const ContextPtr unused = context(rootCa("unused").certificate);  // its key is loaded in each child anew
    const auto isVerified = [&unused] {
        void* const certificate = const_cast<CERT_CONTEXT*>(unused.get());
        return CryptVerifyCertificateSignatureEx(0, X509_ASN_ENCODING, CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT, certificate,
                                                 CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT, certificate, 0, nullptr) != FALSE;
    };
    const RepeatingThreads others(3, isEnded);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(4);
    bool isVerifiedInAll = true;
    while (isVerifiedInAll && std::chrono::steady_clock::now() < end) {
        isVerifiedInAll = isTrueInChild(isVerified);
    }
    EXPECT_TRUE(isVerifiedInAll);
}

TEST(Connection, ServesOneThreadAtATime) {
    HttpServer server(kept);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 32; ++thread) {
        threads.emplace_back([&server, thread] {
            for (int i = 0; i < 20; ++i) {
                const Bytes request = bytesOf(std::to_string(thread) + ' ' + std::to_string(i));
                EXPECT_EQ(post(server.url(), request).body, request);
            }
        });
    }
    threads.clear();
    EXPECT_LT(server.numConnections(), 640);
}

}  // namespace
}  // namespace testkit
