// A small HTTP server on 127.0.0.1 that can also send faulty replies: wrong status, redirects, chunked bodies,
// truncated or endless bodies, slow or closed connections. Each connection has its own thread. It serves one request
// and is closed, unless the reply says otherwise.
//
//   HttpServer server([](const HttpRequest&) { return HttpReply{.body = crl}; });
//   fetch(server.url("/ca.crl"));
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <future>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/pki.h"

namespace testkit {

struct HttpRequest {
    std::string method;
    std::string target;
    std::vector<std::pair<std::string, std::string>> headers;
    Bytes body;

    /// The first value of a header, name compared without case; empty when absent.
    std::string header(const std::string& name) const;
};

enum class BodyFraming { kContentLength, kChunked, kUntilClose };
enum class AfterReply { kClose, kNextRequest, kCloseUnannounced };

struct HttpReply {
    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers = {};
    Bytes body = {};
    BodyFraming framing = BodyFraming::kContentLength;
    std::optional<std::size_t> cutBodyAfter = std::nullopt;  // close the connection after so many octets of the body
    std::size_t padBodyTo = 0;                     // zero octets after the body up to this size, made while sending
    bool closeAtOnce = false;                      // close without a single octet
    int delayMs = 0;                               // before the first octet
    int pauseEachKilobyteMs = 0;                   // after each 1024 octets of the body, or of rawReply
    std::optional<Bytes> rawReply = std::nullopt;  // status line, headers and body, sent unchanged
    AfterReply after = AfterReply::kClose;
};

/// A reply that redirects to `location`.
HttpReply redirectTo(const std::string& location, int status = 302);

class HttpServer {
public:
    using Handler = std::function<HttpReply(const HttpRequest&)>;

    /// Listens at once. With `tls` it speaks TLS with that certificate, and url() begins with https.
    explicit HttpServer(Handler handler, const Identity* tls = nullptr);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    int port() const { return port_; }
    /// "http://127.0.0.1:port" and `path`.
    std::string url(const std::string& path = "/") const;

    /// All requests that were read completely so far.
    std::vector<HttpRequest> requests() const;
    int numConnections() const { return numConnections_; }

private:
    struct Tls;
    void acceptLoop();
    void serve(int connection);

    Handler handler_;
    std::unique_ptr<Tls> tls_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    std::atomic<int> numConnections_{0};
    mutable std::mutex mutex_;
    std::vector<HttpRequest> requests_;
    std::list<std::future<void>> connections_;
    std::thread acceptor_;
};

/// A port of 127.0.0.1 without a listener.
int closedPort();

}  // namespace testkit
