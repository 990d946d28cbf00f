// A client of a Redis server with bounded waits and bounded replies.
//
// hiredis makes the octets of commands and reads replies; the socket, TLS and every wait are ours, so that nothing
// lasts longer than its deadline: not the name, not the handshake, not a reply without an end. What a server sends is
// hostile. While a call waits, and only then, fork() may happen: the caller holds no lock. The sources that call
// hiredis are in libtallow-redis.so, which redis_module.cpp loads on first use.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/crypto/network/redis_address.h"

namespace tallow::platform {

using RedisDeadline = std::chrono::steady_clock::time_point;

struct RedisServer {
    RedisAddress address;
    std::string user, password;  // empty: none
    std::string roots;           // PEM; over TLS the server's certificate must lead to one of them and name the host
};

struct RedisValue {
    enum class Kind { kNothing, kInteger, kText, kStatus, kError, kArray };
    Kind kind = Kind::kNothing;
    long long integer = 0;
    std::string text;  // of text, a status or an error: any octets
    std::vector<RedisValue> elements;
};

class RedisConnection {
public:
    RedisConnection() = default;
    RedisConnection(const RedisConnection&) = delete;
    RedisConnection& operator=(const RedisConnection&) = delete;
    virtual ~RedisConnection() = default;

    // The reply, which may be an error of the server. Nothing when no complete reply of at most `largestReply` octets
    // and 65536 elements came in time; fault() then says why, and the connection is of no use any more.
    virtual std::optional<RedisValue> ask(std::span<const std::string_view> command, RedisDeadline deadline,
                                          std::size_t largestReply) = 0;
    // Whether that failed for the size of the reply only.
    virtual bool isReplyTooLarge() const = 0;
    // Whether an idle connection is still open, with nothing to read.
    virtual bool isQuiet() = 0;
    // In words for people; without secrets, and without text of the server.
    virtual const std::string& fault() const = 0;
};

// Connects, verifies the server, logs in and selects the database. Null, and in `fault` why, when that fails.
std::unique_ptr<RedisConnection> connectRedis(const RedisServer& server, RedisDeadline deadline, std::string& fault);

// "0.14.1; loaded on first use by FILE", or why there is none.
std::string hiredisVersion();
// Whether Redis can be used here, as far as that is known without loading anything.
bool hasRedis();

// The first word of an error, such as WRONGPASS, if it has the form of one: what follows may repeat the command.
std::string errorCodeOf(const RedisValue& error);

}  // namespace tallow::platform
