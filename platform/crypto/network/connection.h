// A connection of libcurl for hops of exchanges, which may be used again.
//
// It connects once. After an exact answer that left it clean, a ConnectionPool can keep it, and the next hop runs over
// the same connection or fails. libcurl's handle is made anew for each use, so that no login, header or body is carried
// over. The connection itself is in a share object, used by one thread at a time as libcurl requires: while it is idle,
// there is one descriptor.
#pragma once

#include <curl/curl.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "platform/crypto/network/address_rules.h"

namespace tallow::platform {

// Which addresses a hop may connect to.
struct Reach {
    bool isAnywhere = false;  // to the proxy, or to a server that the caller named
    bool refusesPrivate = false;
    std::optional<sockaddr_storage> refused = std::nullopt;  // the last address that was
    bool hasNoDescriptor = false;                            // none was left for a socket

    bool refuses(AddressClass found) const {
        return !isAnywhere && (found == AddressClass::kSpecial || (found == AddressClass::kPrivate && refusesPrivate));
    }
};

class Connection {
public:
    using Clock = std::chrono::steady_clock;

    Connection() noexcept;
    // In a child of fork, only the child's descriptor is closed: the connection is the parent's.
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    CURL* easy() const noexcept { return easy_.get(); }  // null when memory ran out, and while parked
    CURLSH* share() const noexcept { return share_.get(); }
    bool isOwn() const noexcept { return owner_ == ::getpid(); }  // made by this process

    // Makes the transfer that the handle was prepared for, once. The thread leaves its gate only to wait: a fork at any
    // other moment could leave the child with a lock of OpenSSL that nothing releases.
    CURLcode perform() noexcept;
    // After a transfer that succeeded: true if its request was sent completely, `sizeSent` octets of body, nothing came
    // after the answer, and the connection is still open.
    bool isLeftClean(std::size_t sizeSent) const;
    // Between two uses of a clean connection. The second is false when memory ran out.
    void park() noexcept;
    [[nodiscard]] bool resume() noexcept;
    // True while a parked connection is open and the server has sent nothing since: what it sends unasked would be
    // taken for the answer to the next request.
    bool isQuiet() const noexcept;
    // Tells the server of a parked connection that nothing more comes. Only a system call: the connection is closed
    // completely later.
    void hangUp() noexcept;
    // How long to wait for the first octet of an answer over a connection that was parked: some servers answer once and
    // then leave the connection open. Far longer than the last answer took.
    std::chrono::milliseconds patience() const noexcept { return std::chrono::seconds(1) + 4 * answeredAfter_; }
    // Octets that arrived so far, with all that is around header and body; 0 where the system does not count them.
    std::uint64_t octetsReceived() const noexcept;
    // Of the server of a parked connection.
    AddressClass peerClass() const noexcept { return peerClass_; }
    Clock::time_point openedAt() const noexcept { return openedAt_; }

    // Set before each transfer: its deadline, and the addresses it may connect to.
    Clock::time_point deadline = {};
    Reach reach = {};
    // When to give up a transfer that no header line has arrived for.
    Clock::time_point answerBy = Clock::time_point::max();

    // CURLOPT_OPENSOCKETFUNCTION, CURLOPT_CLOSESOCKETFUNCTION and CURLOPT_SSL_CTX_FUNCTION; `target` is the object.
    static curl_socket_t onOpenSocket(void* target, curlsocktype purpose, curl_sockaddr* address);
    static int onCloseSocket(void* target, curl_socket_t socket);
    static CURLcode onTlsContext(CURL* easy, void* context, void* target);

private:
    struct EasyFree {
        void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
    };
    struct MultiFree {
        void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
    };
    struct ShareFree {
        void operator()(CURLSH* share) const noexcept { curl_share_cleanup(share); }
    };

    static long endReadingAtDeadline(BIO* source, int operation, const char* octets, std::size_t size, int argument,
                                     long number, int result, std::size_t* processed);
    static void onTlsMessage(int isSent, int version, int type, const void* octets, std::size_t size, SSL* session,
                             void* target);
    void closeHandle() noexcept;
    curl_socket_t activeSocket() const noexcept;
    bool isSilent(curl_socket_t socket) const noexcept;

    pid_t owner_ = ::getpid();
    Clock::time_point openedAt_ = Clock::now();
    bool isReused_ = false;
    curl_socket_t socket_ = CURL_SOCKET_BAD;  // of a parked connection
    // Those that libcurl has opened: it tries several addresses at a time, and names the one in use only at the end.
    std::array<curl_socket_t, 4> open_ = {CURL_SOCKET_BAD, CURL_SOCKET_BAD, CURL_SOCKET_BAD, CURL_SOCKET_BAD};
    AddressClass peerClass_ = AddressClass::kSpecial;
    std::chrono::milliseconds answeredAfter_{0};  // the last answer
    SSL* session_ = nullptr;                      // of the connection, which owns it; null without TLS
    // Last, since closing the connection looks at the members above. The handle is freed before its share.
    std::unique_ptr<CURLSH, ShareFree> share_;  // null when memory ran out
    std::unique_ptr<CURLM, MultiFree> multi_;   // null before the transfer; libcurl finds the socket through it
    std::unique_ptr<CURL, EasyFree> easy_;
};

}  // namespace tallow::platform
