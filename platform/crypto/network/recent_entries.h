// Entries of a shared cache that were read or looked at in the last second.
//
// The certificates of a list need the same few CRLs and issuers. Without this, each certificate would wait for the
// server several times to learn that an entry has not changed.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/crypto/base/bytes.h"

namespace tallow::platform {

// Safe for use from any thread.
class RecentEntries {
public:
    static constexpr std::chrono::seconds kLifetime{1};

    // What was kept; null: nothing, or too long ago.
    std::shared_ptr<const Bytes> find(const std::string& key);
    // Only the first `sizeFront` octets of a large entry are kept.
    void keep(const std::string& key, ByteView entry, std::size_t sizeFront);
    void forget(const std::string& key);
    void forgetAll();

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t kMaxEntries = 256;
    static constexpr std::size_t kMaxSize = 16384;  // of a whole entry

    struct Item {
        std::shared_ptr<const Bytes> octets;
        Clock::time_point since;
    };

    std::mutex mutex_;
    std::map<std::string, Item> items_;
};

}  // namespace tallow::platform
