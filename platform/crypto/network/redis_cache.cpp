#include "platform/crypto/network/redis_cache.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "platform/crypto/network/cache_entry.h"

namespace tallow::platform {

namespace {

constexpr std::size_t kSmallReply = 4096;
constexpr std::size_t kEnvelope = 64;  // octets of the protocol around a value

std::string keyOf(const std::string& url) {
    const std::string name = cacheNameOf(url);
    return name.empty() ? name : "tallow:cache:1:" + name;
}

ByteView octetsOf(const std::string& text) {
    return {reinterpret_cast<const BYTE*>(text.data()), text.size()};
}

std::string_view textOf(const Bytes& octets) {
    return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

}  // namespace

std::optional<CachedAnswer> RedisCache::findChanged(const std::string& url, long maxAgeSeconds,
                                                    const FILETIME* notBefore, const KnownAnswer& known) const {
    const std::string key = keyOf(url);
    const std::shared_ptr<const CacheSettings> settings = server_.settings();
    if (!settings || key.empty() || maxAgeSeconds < 0 || url.size() > kLargestCacheEntry) {
        return std::nullopt;
    }
    const SharedEntries entries(settings->key);
    // The answer may have megabytes: of an unchanged entry only the octets before it are read.
    if (known.stamp.digest != AnswerDigest()) {
        const std::size_t sizeFront = SharedEntries::sizeFront(url);
        const std::string last = std::to_string(sizeFront - 1);
        const std::array<std::string_view, 4> command{"GETRANGE", key, "0", last};
        const std::optional<RedisValue> front = server_.ask(settings, command, sizeFront + kEnvelope);
        const auto opened = front ? entries.openFront(url, octetsOf(front->text)) : std::nullopt;
        if (!opened || !opened->header.isFresh(maxAgeSeconds, notBefore)) {
            return std::nullopt;
        }
        if (opened->digest == known.stamp.digest) {
            return CachedAnswer{std::nullopt, known.stamp};
        }
    }
    const std::array<std::string_view, 2> command{"GET", key};
    const std::optional<RedisValue> entry = server_.ask(settings, command, kLargestCacheEntry + kEnvelope);
    const auto opened = entry ? entries.open(url, octetsOf(entry->text)) : std::nullopt;
    if (!opened || !opened->header.isFresh(maxAgeSeconds, notBefore)) {
        return std::nullopt;
    }
    CachedAnswer found;
    found.stamp.digest = opened->digest;
    if (known.answer.empty() || !std::ranges::equal(known.answer, opened->answer)) {
        found.answer.emplace(opened->answer.begin(), opened->answer.end());
    }
    return found;
}

void RedisCache::keep(const std::string& url, ByteView answer, long lifetimeSeconds) const {
    const std::string key = keyOf(url);
    const std::shared_ptr<const CacheSettings> settings = server_.settings();
    constexpr long kLongest = std::numeric_limits<int>::max();
    if (!settings || key.empty() || lifetimeSeconds <= 0 || url.size() > kLargestCacheEntry ||
        answer.size() > kLargestCacheEntry || SharedEntries::sizeFront(url) + answer.size() > kLargestCacheEntry) {
        return;
    }
    const Bytes entry = SharedEntries(settings->key).seal(url, answer);
    const std::string lifetime = std::to_string(std::min(lifetimeSeconds, kLongest));
    const std::array<std::string_view, 5> command{"SET", key, textOf(entry), "EX", lifetime};
    static_cast<void>(server_.ask(settings, command, kSmallReply));
}

bool RedisCache::forget(const std::string& url) const {
    const std::string key = keyOf(url);
    const std::shared_ptr<const CacheSettings> settings = server_.settings();
    const std::array<std::string_view, 2> command{"DEL", key};
    return !settings || (!key.empty() && server_.ask(settings, command, kSmallReply).has_value());
}

}  // namespace tallow::platform
