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
                                                    const FILETIME* notBefore, const KnownAnswer& known,
                                                    std::size_t largest) const {
    const std::string key = keyOf(url);
    const std::shared_ptr<const CacheSettings> settings = server_.settings();
    if (!settings || key.empty() || maxAgeSeconds < 0 || url.size() > kLargestCacheEntry) {
        return std::nullopt;
    }
    const SharedEntries entries(settings->key);
    const std::size_t sizeFront = SharedEntries::sizeFront(url);
    const auto isWanted = [&](const std::optional<SharedEntries::Opened>& opened) {
        return opened && opened->header.sizeAnswer <= largest && opened->header.isFresh(maxAgeSeconds, notBefore);
    };
    const auto isKnown = [&](const SharedEntries::Opened& opened) {
        return known.stamp.digest != AnswerDigest() && opened.digest == known.stamp.digest;
    };
    const auto answerOf = [&](const SharedEntries::Opened& opened) {
        CachedAnswer found;
        found.stamp.digest = opened.digest;
        if (known.answer.empty() || !std::ranges::equal(known.answer, opened.answer)) {
            found.answer.emplace(opened.answer.begin(), opened.answer.end());
        }
        return found;
    };
    if (const std::shared_ptr<const Bytes> recent = server_.recent().find(key); recent && recent->size() >= sizeFront) {
        const auto front = entries.openFront(url, ByteView(*recent).first(sizeFront));
        if (isWanted(front) && isKnown(*front)) {
            return CachedAnswer{std::nullopt, known.stamp};
        }
        if (const auto opened = entries.open(url, *recent); isWanted(opened)) {
            return answerOf(*opened);
        }
    }
    const auto ask = [&](std::size_t size) {
        const std::string last = std::to_string(size - 1);
        const std::array<std::string_view, 4> command{"GETRANGE", key, "0", last};
        return server_.ask(settings, command, size + kEnvelope);
    };
    // The answer may have megabytes: of an unchanged entry only the octets before it are read.
    if (known.stamp.digest != AnswerDigest()) {
        const std::optional<RedisValue> front = ask(sizeFront);
        const auto opened = front ? entries.openFront(url, octetsOf(front->text)) : std::nullopt;
        if (!isWanted(opened)) {
            return std::nullopt;
        }
        server_.recent().keep(key, octetsOf(front->text), sizeFront);
        if (isKnown(*opened)) {
            return CachedAnswer{std::nullopt, known.stamp};
        }
    }
    // Of one that is too large, only the octets up to the limit come, so that it is not complete.
    const std::optional<RedisValue> entry = ask(sizeFront + std::min(largest, kLargestCacheEntry));
    const auto opened = entry ? entries.open(url, octetsOf(entry->text)) : std::nullopt;
    if (!isWanted(opened)) {
        return std::nullopt;
    }
    server_.recent().keep(key, octetsOf(entry->text), sizeFront);
    return answerOf(*opened);
}

void RedisCache::keep(const std::string& url, ByteView answer, long lifetimeSeconds) const {
    const std::string key = keyOf(url);
    const std::shared_ptr<const CacheSettings> settings = server_.settings();
    constexpr long kLongest = std::numeric_limits<int>::max();
    if (!settings || key.empty() || lifetimeSeconds <= 0 || url.size() > kLargestCacheEntry ||
        answer.size() > kLargestCacheEntry || SharedEntries::sizeFront(url) + answer.size() > kLargestCacheEntry) {
        return;
    }
    server_.recent().forget(key);
    const Bytes entry = SharedEntries(settings->key).seal(url, answer);
    const std::string lifetime = std::to_string(std::min(lifetimeSeconds, kLongest));
    const std::array<std::string_view, 5> command{"SET", key, textOf(entry), "EX", lifetime};
    static_cast<void>(server_.ask(settings, command, kSmallReply));
}

bool RedisCache::forget(const std::string& url) const {
    const std::string key = keyOf(url);
    const std::shared_ptr<const CacheSettings> settings = server_.settings();
    server_.recent().forget(key);
    const std::array<std::string_view, 2> command{"DEL", key};
    return !settings || (!key.empty() && server_.ask(settings, command, kSmallReply).has_value());
}

}  // namespace tallow::platform
