// A connection to a server over TCP or TLS on which no step lasts longer than a deadline.
#pragma once

#include <openssl/ssl.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/network/host_lookup.h"
#include "platform/crypto/network/redis_client.h"
#include "platform/support/descriptor.h"

namespace tallow::platform {

// Every step that returns false has put the cause into fault().
class RedisSocket {
public:
    bool connect(const RedisServer& server, RedisDeadline deadline);
    bool send(std::string_view octets, RedisDeadline deadline);
    // What arrived: at least one octet; empty on failure. Valid until the next call.
    std::string_view receive(RedisDeadline deadline);
    // Whether the connection is open and there is nothing to read.
    bool isQuiet();

    bool fail(std::string fault);
    const std::string& fault() const noexcept { return fault_; }

private:
    bool connectTo(const HostAddress& address, RedisDeadline deadline);
    bool beginTls(const RedisServer& server, RedisDeadline deadline);
    bool wait(short events, RedisDeadline deadline);
    bool sendPlain(std::string_view octets, RedisDeadline deadline);
    std::string_view receivePlain(RedisDeadline deadline);
    bool flushTls(RedisDeadline deadline);
    // Runs a function of TLS that returns a positive number on success; else its error is in tlsError_, if it has one.
    template <typename Call>
    int callTls(Call call);
    // Sends what TLS wants to send and passes on what arrives, after a call of TLS that could not be completed.
    bool continueTls(RedisDeadline deadline);

    std::unique_ptr<Descriptor> socket_;
    std::unique_ptr<SSL_CTX, OpenSslFree<SSL_CTX_free>> context_;
    std::unique_ptr<SSL, OpenSslFree<SSL_free>> tls_;  // null without TLS; it reads and writes memory, not the socket
    std::array<char, 16384> arrived_;
    std::array<char, 16384> decrypted_;
    unsigned long tlsError_ = 0;
    std::string fault_;
};

}  // namespace tallow::platform
