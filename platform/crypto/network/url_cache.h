// Responses and downloads kept by URL, for a limited time: in a directory of the user (directory_cache.h), or on a
// server that several machines share (redis_cache.h).
//
// A cache that cannot be read or written is not a failure: the answer then comes from the network, or from the memory
// that takes the place of the directory (download_memory.h). What comes out of a cache is no more trusted than what
// comes from the network.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/crypto/certificates/certificate.h"
#include "platform/crypto/network/answer_stamp.h"
#include "platform/crypto/network/cache_entry.h"

namespace tallow::platform {

// An answer that a caller remembers, and the stamp of the entry that it came from.
struct KnownAnswer {
    ByteView answer;
    AnswerStamp stamp;  // the default value: not known
};

struct CachedAnswer {
    std::optional<Bytes> answer;  // empty when it is the known one
    AnswerStamp stamp;            // the default value when a further change of the entry might not show
};

// What a caller keeps. Each request with a nonce has a URL of its own, so responses would push CRLs out of memory: they
// are kept only where the directory can be used.
enum class CacheContent { kResponses, kDownloads };

class UrlCache {
public:
    UrlCache() = default;
    UrlCache(const UrlCache&) = delete;
    UrlCache& operator=(const UrlCache&) = delete;
    virtual ~UrlCache() = default;

    // That of the settings. It keeps nothing when they say so or are broken, and in a check with
    // CRYPTO_CHECK_NO_CACHE. A server is part of the network: without the permission to use it, and in a check with
    // CRYPTO_CHECK_NO_DOWNLOADS, it is not asked.
    static std::unique_ptr<const UrlCache> ofSettings(bool mayUseNetwork, CacheContent content);

    // The answer kept for `url`, unless it is older than `maxAgeSeconds`, from before `notBefore` (null: any time),
    // from the future, or larger than `largest` octets.
    std::optional<Bytes> find(const std::string& url, long maxAgeSeconds, const FILETIME* notBefore,
                              std::size_t largest = kLargestCacheEntry) const;
    // The same for a caller that remembers an answer. The entry is looked at, and its URL and age are checked, but the
    // answer of an unchanged entry is not read again. That of another entry is compared with the known one.
    virtual std::optional<CachedAnswer> findChanged(const std::string& url, long maxAgeSeconds,
                                                    const FILETIME* notBefore, const KnownAnswer& known,
                                                    std::size_t largest) const = 0;
    // No reader accepts the answer after `lifetimeSeconds`; a server removes it then.
    virtual void keep(const std::string& url, ByteView answer, long lifetimeSeconds) const = 0;
    // Removes the answer kept for `url`. True when there is none now.
    virtual bool forget(const std::string& url) const = 0;
};

// The seconds from now until `nextUpdate` (seconds since 1970; empty: unknown), at most `maxAgeSeconds`.
long lifetimeUntil(std::optional<long long> nextUpdate, long maxAgeSeconds);

}  // namespace tallow::platform
