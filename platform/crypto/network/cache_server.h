// The server of the setting `cache`: its settings, its open connections, and what happens when it fails.
//
// A server that fails is not an error of a check, and may not slow one down. All operations of a check wait for at most
// 200 ms together, with everything. So do all slow ones of the process, those of 10 ms or more: after that, and after
// each failure, the server is not asked for a while, first for 5 s and at most for a minute. A process gets back 1 % of
// the time that passes, so that rare delays of a service that runs for months do not add up. The first failure of a
// process is kept for a message.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/crypto/network/recent_entries.h"
#include "platform/crypto/network/redis_client.h"

namespace tallow::platform {

// A server as it is configured.
struct RedisLogin {
    std::string url, user, passwordFile, caFile;  // empty: none; without a caFile the system's bundle
};
// Reads the files. On failure `fault` says why; the host is empty when the address cannot be used.
RedisServer readRedisServer(const RedisLogin& login, std::string& fault);

struct CacheSettings {
    RedisServer server;
    std::string name;   // for messages: the address, or what the setting says
    std::string key;    // of the seals; empty: entries have none
    std::string fault;  // why the server cannot be used with these settings; else empty

    static CacheSettings read();
};

class CacheServer {
public:
    static constexpr std::chrono::milliseconds kLongestWait{200};
    static constexpr std::chrono::milliseconds kQuick{10};
    static constexpr std::chrono::seconds kFirstPause{5};
    static constexpr std::chrono::seconds kLongestPause{60};

    // A test on a busy machine waits longer.
    explicit CacheServer(std::chrono::milliseconds longestWait = kLongestWait)
        : longestWait_(longestWait), patience_(longestWait) {}

    // The process's own. It lives until the process ends.
    static CacheServer& ofProcess();

    // Those in force, read again when another file of settings was opened, and after a pause when no server can be used
    // with them; they are null then.
    std::shared_ptr<const CacheSettings> settings();

    // The reply, unless it is an error. Nothing while the server is left alone, when it fails, and when the check has
    // waited long enough.
    std::optional<RedisValue> ask(const std::shared_ptr<const CacheSettings>& settings,
                                  std::span<const std::string_view> command, std::size_t largestReply);

    RecentEntries& recent() noexcept { return recent_; }

    // The first failure of the process, in one line; null when there was none. Stays valid.
    const char* firstFault();

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t kMaxIdle = 8;
    static constexpr std::chrono::seconds kLongestIdle{30};

    struct Idle {
        std::unique_ptr<RedisConnection> connection;
        std::shared_ptr<const CacheSettings> settings;
        Clock::time_point since;
        std::uint32_t process;  // a child of fork must not use the connections of its parent
    };

    using Reply = std::optional<RedisValue>;

    Clock::duration patience(Clock::time_point now);
    Reply exchange(const std::shared_ptr<const CacheSettings>& settings, std::span<const std::string_view> command,
                   Clock::time_point deadline, std::size_t largestReply, std::string& fault);
    std::unique_ptr<RedisConnection> take(const std::shared_ptr<const CacheSettings>& settings);
    void keep(std::unique_ptr<RedisConnection> connection, const std::shared_ptr<const CacheSettings>& settings);
    void note(const CacheSettings& settings, const std::string& fault);
    void pause(Clock::time_point now);

    const std::chrono::milliseconds longestWait_;
    std::mutex mutex_;
    std::shared_ptr<const CacheSettings> settings_;
    unsigned long settingsVersion_ = 0;
    std::vector<Idle> idle_;
    RecentEntries recent_;
    Clock::duration patience_;  // for how long slow operations may wait from now on
    Clock::time_point patienceSince_{};
    Clock::time_point pausedUntil_{};
    std::chrono::seconds nextPause_ = kFirstPause;
    std::string firstFault_;  // never changed once it is set
};

}  // namespace tallow::platform
