// The form of an entry in a cache of downloads: a header, the URL, and the answer. An entry on a server also has a seal
// between URL and answer, which shows whether someone who knows the cache's key wrote it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/network/answer_stamp.h"

namespace tallow::platform {

inline constexpr std::size_t kLargestCacheEntry = std::size_t{64} << 20;  // octets, with everything
inline constexpr std::size_t kCacheNameSize = 64;

// The hash of the URL in hexadecimal digits; empty when it cannot be computed.
std::string cacheNameOf(std::string_view url);

// Throws std::bad_alloc when it cannot be computed.
AnswerDigest digestOf(ByteView answer);

// Numbers in the order of this machine: one with another order finds nothing. The version is part of the mark.
struct CacheEntryHeader {
    char mark[8] = {'t', 'a', 'l', 'l', 'o', 'w', 'c', '1'};
    std::uint64_t storedAt = 0;  // ticks of a FILETIME
    std::uint64_t sizeUrl = 0;
    std::uint64_t sizeAnswer = 0;

    static CacheEntryHeader of(std::string_view url, ByteView answer);  // stored now

    // Whether this is the header of an entry for `url` with `sizeRest` octets after it.
    bool fits(std::string_view url, std::uint64_t sizeRest) const noexcept;
    bool isFresh(long maxAgeSeconds, const FILETIME* notBefore) const noexcept;
    FILETIME timeStored() const noexcept;
};

struct CacheSeal {
    AnswerDigest digest{};  // of the answer
    AnswerDigest mac{};     // HMAC-SHA-256 over header, URL and digest; zeros when it was written without a key
};

// What entries of one server are made and opened with.
class SharedEntries {
public:
    // An empty key: entries without a seal count, too.
    explicit SharedEntries(std::string_view key) : key_(key) {}

    struct Opened {
        CacheEntryHeader header;
        AnswerDigest digest;
        ByteView answer;  // part of the entry
    };

    static std::size_t sizeFront(std::string_view url) noexcept;  // octets before the answer

    Bytes seal(std::string_view url, ByteView answer) const;
    // The entry, when it is one for `url`, has the seal of this key, and its answer is the one that was sealed.
    std::optional<Opened> open(std::string_view url, ByteView entry) const;
    // The same for an entry whose answer was not read: only the octets before it.
    std::optional<Opened> openFront(std::string_view url, ByteView front) const;

private:
    AnswerDigest macOf(const CacheEntryHeader& header, std::string_view url, const AnswerDigest& digest) const;

    std::string_view key_;
};

}  // namespace tallow::platform
