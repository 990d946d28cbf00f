// A connection of libcurl for hops of exchanges, which may be used again.
//
// It connects once. After an exact answer that left it clean, a ConnectionPool can keep it, and the next hop runs over
// the same connection or fails. libcurl's easy handle is made anew for each use, so that no login, header or body is
// carried over. The connection itself is in a multi handle, used by one thread at a time as libcurl requires: while it
// is idle, there are its descriptor and the two that libcurl gives each multi handle.
//
// The process's handling of SIGPIPE stays as it is. libcurl would change it whenever it frees a share handle, or a
// multi handle that never had an easy handle with CURLOPT_NOSIGNAL, so there is none of the former, and no multi handle
// before a transfer.
#pragma once

#include <curl/curl.h>
#include <openssl/ssl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "platform/crypto/network/address_rules.h"
#include "platform/crypto/network/multi_handle.h"
#include "platform/support/fork_gate.h"

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

    Connection();
    // In a child of fork, only the child's descriptors are closed: the connection is the parent's.
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    CURL* easy() const noexcept { return easy_.get(); }  // null when memory ran out, and while parked
    bool isOwn() const noexcept { return owner_ == ForkGate::generation(); }  // made by this process

    // In a child of fork: closes its copies of all connections of its parent, also of those that threads of the parent
    // were using. The memory that libcurl has for the latter is not freed.
    static void closeCopies();

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
    // The system's error why the roots for TLS cannot be read, 0 when there are none in the file.
    int rootsError() const noexcept { return rootsError_; }
    // Of the server of a parked connection.
    AddressClass peerClass() const noexcept { return peerClass_; }
    Clock::time_point openedAt() const noexcept { return openedAt_; }

    // Set before each transfer: its deadline, and the addresses it may connect to.
    Clock::time_point deadline = {};
    Reach reach = {};
    // When to give up a transfer that no header line has arrived for.
    Clock::time_point answerBy = Clock::time_point::max();

    // CURLOPT_RESOLVER_START_FUNCTION, CURLOPT_OPENSOCKETFUNCTION, CURLOPT_CLOSESOCKETFUNCTION and
    // CURLOPT_SSL_CTX_FUNCTION; `target` is the object.
    static int onLookup(void* lookup, void* reserved, void* target);
    static curl_socket_t onOpenSocket(void* target, curlsocktype purpose, curl_sockaddr* address);
    static int onCloseSocket(void* target, curl_socket_t socket);
    static CURLcode onTlsContext(CURL* easy, void* context, void* target);

private:
    struct EasyFree {
        void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
    };
    struct Descriptor {
        int number = -1;
        ino_t inode = 0;

        static Descriptor of(int number) noexcept;
        bool isThere() const noexcept;  // it still is what it was
        void close() noexcept;          // unless another file has the number by now
    };

    static long endReadingAtDeadline(BIO* source, int operation, const char* octets, std::size_t size, int argument,
                                     long number, int result, std::size_t* processed);
    static void onTlsMessage(int isSent, int version, int type, const void* octets, std::size_t size, SSL* session,
                             void* target);
    void closeHandle() noexcept;
    // In a child of fork: ends the use of its parent's connection by this process. False when libcurl must not touch
    // what it has any more, which is then never freed.
    [[nodiscard]] bool isSeparate() noexcept;
    // Puts a socket without a peer in its place. False when there is no descriptor for it.
    [[nodiscard]] bool replaceSockets() noexcept;
    bool isUsedElsewhere() const noexcept;
    bool mayHoldLock() const noexcept;
    std::array<Descriptor*, 6> descriptors() noexcept;
    curl_socket_t activeSocket() const noexcept;
    bool isSilent(curl_socket_t socket) const noexcept;

    const std::uint32_t owner_ = ForkGate::generation();
    Clock::time_point openedAt_ = Clock::now();
    std::optional<pthread_t> user_ = ::pthread_self();  // the thread that uses it, absent while parked
    int rootsError_ = 0;
    bool isReused_ = false;
    bool isLost_ = false;                     // see isSeparate
    curl_socket_t socket_ = CURL_SOCKET_BAD;  // of a parked connection
    // Those that libcurl has opened: it tries several addresses at a time, and names the one in use only at the end.
    std::array<Descriptor, 4> open_;
    std::array<Descriptor, 2> wakeUp_;              // of multi_, as far as they are known
    std::optional<Clock::time_point> lookupBegun_;  // of a name, until a socket is opened
    AddressClass peerClass_ = AddressClass::kSpecial;
    std::chrono::milliseconds answeredAfter_{0};  // the last answer
    SSL* session_ = nullptr;                      // of the connection, which owns it; null without TLS
    // Last, since closing the connection looks at the members above.
    MultiPtr multi_;  // null before the first transfer; libcurl finds the socket through it
    std::unique_ptr<CURL, EasyFree> easy_;
};

}  // namespace tallow::platform
