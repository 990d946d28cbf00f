#include "tests/support/http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "tests/support/openssl_ptr.h"

namespace testkit {

namespace {

constexpr std::size_t kMaxRequestSize = 1 << 22;
constexpr int kIoTimeoutMs = 10000;

int listenOnLoopback(int& port) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (listener < 0 || ::bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(listener, 32) != 0 || ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error("cannot listen on the loopback address");
    }
    port = ntohs(address.sin_port);
    return listener;
}

void sleepMs(int ms) {
    if (ms > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    }
}

// One accepted connection, plain or TLS.
class Connection {
public:
    Connection(int socket, SSL_CTX* tls) : socket_(socket) {
        timeval limit{kIoTimeoutMs / 1000, 0};
        ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
        if (tls != nullptr) {
            ssl_.reset(SSL_new(tls));
            SSL_set_fd(ssl_.get(), socket);
            alive_ = SSL_accept(ssl_.get()) == 1;
        }
    }
    ~Connection() {
        if (ssl_ && alive_) {
            SSL_shutdown(ssl_.get());
        }
        ::close(socket_);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool readMore(std::string& received) {
        char chunk[4096];
        const long size = !alive_ ? -1
                          : ssl_  ? SSL_read(ssl_.get(), chunk, sizeof chunk)
                                  : ::recv(socket_, chunk, sizeof chunk, 0);
        if (size <= 0) {
            return false;
        }
        received.append(chunk, static_cast<std::size_t>(size));
        return received.size() < kMaxRequestSize;
    }

    bool write(const void* data, std::size_t size) {
        const char* at = static_cast<const char*>(data);
        while (alive_ && size > 0) {
            const long written =
                ssl_ ? SSL_write(ssl_.get(), at, static_cast<int>(size)) : ::send(socket_, at, size, MSG_NOSIGNAL);
            if (written <= 0) {
                return alive_ = false;
            }
            at += written;
            size -= static_cast<std::size_t>(written);
        }
        return alive_;
    }
    bool write(const std::string& text) { return write(text.data(), text.size()); }

private:
    int socket_;
    bool alive_ = true;
    std::unique_ptr<SSL, FreeWith<SSL_free>> ssl_;
};

bool readRequest(Connection& connection, HttpRequest& request) {
    std::string received;
    std::size_t headerEnd = std::string::npos;
    while ((headerEnd = received.find("\r\n\r\n")) == std::string::npos) {
        if (!connection.readMore(received)) {
            return false;
        }
    }
    std::istringstream lines(received.substr(0, headerEnd));
    std::string line;
    std::getline(lines, line);
    std::istringstream(line) >> request.method >> request.target;
    while (std::getline(lines, line)) {
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos) {
            std::string value = line.substr(colon + 1);
            value.erase(0, value.find_first_not_of(' '));
            value.erase(value.find_last_not_of("\r ") + 1);
            request.headers.emplace_back(line.substr(0, colon), value);
        }
    }
    if (!request.header("Expect").empty()) {
        connection.write("HTTP/1.1 100 Continue\r\n\r\n");
    }
    const std::size_t bodySize = std::strtoul(request.header("Content-Length").c_str(), nullptr, 10);
    while (received.size() < headerEnd + 4 + bodySize) {
        if (!connection.readMore(received)) {
            return false;
        }
    }
    request.body = bytesOf(std::string_view(received).substr(headerEnd + 4, bodySize));
    return true;
}

std::string headerText(const HttpReply& reply, std::size_t bodySize) {
    std::ostringstream text;
    text << "HTTP/1.1 " << reply.status << " Reply\r\nContent-Type: application/octet-stream\r\n"
         << (reply.after == AfterReply::kClose ? "Connection: close\r\n" : "");
    for (const auto& [name, value] : reply.headers) {
        text << name << ": " << value << "\r\n";
    }
    if (reply.framing == BodyFraming::kContentLength) {
        text << "Content-Length: " << bodySize << "\r\n";
    } else if (reply.framing == BodyFraming::kChunked) {
        text << "Transfer-Encoding: chunked\r\n";
    }
    text << "\r\n";
    return text.str();
}

bool writePiece(Connection& connection, const HttpReply& reply, const std::string& piece) {
    if (reply.framing != BodyFraming::kChunked) {
        return connection.write(piece);
    }
    std::ostringstream chunk;
    chunk << std::hex << piece.size() << "\r\n" << piece << "\r\n";
    return connection.write(chunk.str());
}

void writeReply(Connection& connection, const HttpReply& reply) {
    sleepMs(reply.delayMs);
    const Bytes& body = reply.rawReply ? *reply.rawReply : reply.body;
    const std::size_t bodySize = std::max(body.size(), reply.padBodyTo);
    if (reply.closeAtOnce || (!reply.rawReply && !connection.write(headerText(reply, bodySize)))) {
        return;
    }
    const std::size_t end = std::min(bodySize, reply.cutBodyAfter.value_or(bodySize));
    const std::size_t step = reply.pauseEachKilobyteMs > 0 ? 1024 : 16384;
    for (std::size_t at = 0; at < end; at += step) {
        std::string piece(std::min(step, end - at), '\0');
        if (at < body.size()) {
            std::memcpy(piece.data(), body.data() + at, std::min(piece.size(), body.size() - at));
        }
        if (!writePiece(connection, reply, piece)) {
            return;
        }
        sleepMs(reply.pauseEachKilobyteMs);
    }
    if (reply.framing == BodyFraming::kChunked && end == bodySize) {
        connection.write("0\r\n\r\n");
    }
}

}  // namespace

struct HttpServer::Tls {
    std::unique_ptr<SSL_CTX, FreeWith<SSL_CTX_free>> context{SSL_CTX_new(TLS_server_method())};

    explicit Tls(const Identity& identity) {
        require(SSL_CTX_use_certificate(context.get(), parseCertificate(identity.certificate).get()) == 1 &&
                    SSL_CTX_use_PrivateKey(context.get(), identity.key.get()) == 1,
                "setting up TLS");
        std::signal(SIGPIPE, SIG_IGN);  // libssl writes without MSG_NOSIGNAL
    }
};

std::string HttpRequest::header(const std::string& name) const {
    for (const auto& [key, value] : headers) {
        if (::strcasecmp(key.c_str(), name.c_str()) == 0) {
            return value;
        }
    }
    return {};
}

HttpReply redirectTo(const std::string& location, int status) {
    HttpReply reply;
    reply.status = status;
    reply.headers.emplace_back("Location", location);
    return reply;
}

HttpServer::HttpServer(Handler handler, const Identity* tls)
    : handler_(std::move(handler)), tls_(tls != nullptr ? std::make_unique<Tls>(*tls) : nullptr) {
    listener_ = listenOnLoopback(port_);
    acceptor_ = std::thread([this] { acceptLoop(); });
}

HttpServer::~HttpServer() {
    stopping_ = true;
    acceptor_.join();
    ::close(listener_);
    for (std::future<void>& connection : connections_) {
        connection.get();
    }
}

std::string HttpServer::url(const std::string& path) const {
    return (tls_ ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port_) + path;
}

std::vector<HttpRequest> HttpServer::requests() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

void HttpServer::acceptLoop() {
    while (!stopping_) {
        pollfd waiting{listener_, POLLIN, 0};
        if (::poll(&waiting, 1, 20) == 1) {
            const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection >= 0) {
                ++numConnections_;
                connections_.remove_if([](std::future<void>& served) {  // a thread occupies memory until then
                    const bool isOver = served.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
                    return isOver && (served.get(), true);
                });
                connections_.push_back(std::async(std::launch::async, [this, connection] { serve(connection); }));
            }
        }
    }
}

void HttpServer::serve(int socket) {
    Connection connection(socket, tls_ ? tls_->context.get() : nullptr);
    for (HttpReply reply{.after = AfterReply::kNextRequest}; reply.after == AfterReply::kNextRequest;) {
        pollfd waiting{socket, POLLIN, 0};
        while (!stopping_ && ::poll(&waiting, 1, 5) == 0) {
        }
        HttpRequest request;
        if (stopping_ || !readRequest(connection, request)) {
            return;
        }
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            requests_.push_back(request);
        }
        reply = handler_(request);
        writeReply(connection, reply);
    }
}

int closedPort() {
    int port = 0;
    ::close(listenOnLoopback(port));
    return port;
}

}  // namespace testkit
