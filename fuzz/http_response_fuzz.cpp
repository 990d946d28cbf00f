// What an HTTP server sends, over a real connection: status lines, header lines, bodies, redirects back to the same
// server. At most as much body as arrived may come out, within the limits, and without a failure only after a status
// line. An answer to the next request must not depend on what came before.
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#include "platform/crypto/network/http_exchange.h"
#include "platform/support/support_service.h"

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Sends the same octets to each connection, waits for the client's next octets only as long as it sends some, and
// closes. It lives until the process ends.
class Server {
public:
    Server() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        require(::bind(listener_, reinterpret_cast<sockaddr*>(&address), size) == 0 && ::listen(listener_, 16) == 0 &&
                ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) == 0);
        url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
        std::thread([this] { serve(); }).detach();
    }
    const std::string& url() const { return url_; }
    void setReply(std::string reply) {
        const std::scoped_lock lock(mutex_);
        reply_ = std::move(reply);
    }

private:
    void serve() {
        for (;;) {
            const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            char request[4096];
            if (::recv(connection, request, sizeof request, 0) > 0) {
                std::string reply;
                {
                    const std::scoped_lock lock(mutex_);
                    reply = reply_;
                }
                static_cast<void>(::send(connection, reply.data(), reply.size(), MSG_NOSIGNAL));
                ::shutdown(connection, SHUT_WR);
                pollfd end{connection, POLLIN, 0};
                while (::poll(&end, 1, 200) > 0 && ::recv(connection, request, sizeof request, 0) > 0) {
                }
            }
            ::close(connection);
        }
    }

    int listener_;
    std::string url_;
    std::mutex mutex_;
    std::string reply_;
};

// libcurl accepts its name in either case.
bool hasStatusLine(const std::string& reply) {
    static const std::string name = "http/";
    return std::search(reply.begin(), reply.end(), name.begin(), name.end(),
                       [](unsigned char a, char b) { return std::tolower(a) == b; }) != reply.end();
}

tallow::platform::HttpAnswer ask(const Server& server, bool isPost) {
    tallow::platform::HttpCall call;
    call.url = server.url();
    call.addressIsNamed = true;
    call.post = isPost;
    const std::uint8_t body[] = {0x30, 0x00};
    call.body = body;
    call.onRedirect = [&](const std::string& target, long) { return target.starts_with(server.url()); };
    constexpr long kDeadlineMs = 20000;  // never reached: the server closes each connection
    return exchangeHttp(call, {.connectTimeoutMs = kDeadlineMs,
                               .deadlineMs = kDeadlineMs,
                               .maxBodySize = 4096,
                               .maxHeaderSize = 2048,
                               .maxRedirects = 2,
                               .connectionIdleMs = 1000});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool hasSettings = support_settings_open("/dev/null") == 0;
    static Server* const server = new Server;
    require(hasSettings);
    const std::string reply(data, data + size);
    for (const bool isPost : {true, false}) {
        server->setReply(reply);
        const tallow::platform::HttpAnswer answer = ask(*server, isPost);
        require(answer.reason.find_first_of("\n\r") == std::string::npos);
        require(answer.body.size() <= std::min<std::size_t>(size, 4096));
        if (answer.error == 0) {
            require(hasStatusLine(reply) && answer.status >= 100 && answer.status <= 999);
            require(answer.status == 200 || !answer.reason.empty());
        } else {
            require(answer.status == 0 && answer.body.empty() && !answer.reason.empty());
        }
        server->setReply("HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok");
        const tallow::platform::HttpAnswer next = ask(*server, isPost);
        require(next.error == 0 && next.status == 200 && std::string(next.body.begin(), next.body.end()) == "ok");
    }
    return 0;
}
