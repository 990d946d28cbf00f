// Idle connections of the process, each to be used again by one exchange at a time.
//
// A connection is given only to an exchange with the same key, which contains everything that decides what a new
// connection would be, and only if the rules for addresses permit its server now. It is closed when it was idle for as
// long as the setting connection_idle_ms says, or a minute after it was opened: names, the certificates of servers and
// the system's roots are then looked at again. An idle connection can block a server that has few workers. A thread
// therefore ends idle connections in time; it stops when none is left.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/crypto/network/connection.h"

namespace tallow::platform {

// Call it inside a ForkGate, like all that locks. A child of fork does not use the connections of its parent.
class ConnectionPool {
public:
    static constexpr std::size_t kMaxIdle = 16;
    static constexpr std::size_t kMaxIdleForKey = 8;
    static constexpr std::chrono::seconds kLongestLife{60};

    // The process's own. It lives until the process ends, since other threads may use it while static objects are
    // destroyed; the system closes its connections then.
    static ConnectionPool& ofProcess();

    // The connection last used with this key, or null, as for an empty key. Closes those that are over, and in a child
    // of fork its copies of all that its parent had.
    std::unique_ptr<Connection> take(const std::string& key, const Reach& reach, std::chrono::milliseconds maxIdle);
    // Takes a parked connection. When there are too many, the one that is idle for longest is closed.
    void keep(std::string key, std::unique_ptr<Connection> connection, std::chrono::milliseconds maxIdle) noexcept;
    // Closes all, so that their descriptors can be used. False when there was none.
    bool closeAll();
    // The server left a request over an open connection without an answer: none is kept for this key from now on.
    void noteSilence(const std::string& key);

private:
    static constexpr std::size_t kMaxSilent = 64;

    ConnectionPool() { idle_.reserve(kMaxIdle); }

    struct Idle {
        std::string key;
        std::unique_ptr<Connection> connection;
        Connection::Clock::time_point since;
        Connection::Clock::time_point end;  // when the thread ends it
    };
    using IdleList = std::vector<Idle>;

    // Moves those that are over to `closing`. Closing may take a while, so it is done without the lock.
    void removeOver(std::chrono::milliseconds maxIdle, IdleList& closing);
    bool mayKeep(const std::string& key) noexcept;
    bool startEnding() noexcept;
    static void* endIdle(void* pool) noexcept;
    bool endThoseOver() noexcept;

    std::mutex mutex_;
    IdleList idle_;                    // in the order of their last use; its capacity is never exceeded
    std::vector<std::string> silent_;  // the last keys of noteSilence
    std::uint32_t ending_ = 0;         // the process in which the thread runs; a fork does not copy it
};

}  // namespace tallow::platform
