// The cache on a server that several machines share.
//
// An entry is one key, tallow:cache:1:HASH, whose value has the form of cache_entry.h; the server removes it when no
// reader would accept it any more. Machines that may write to the server could put an older response back, which a
// signature check does not detect. With the setting cache_key_file an entry counts only with a seal made by that key,
// which covers URL, time of storing and answer.
#pragma once

#include "platform/crypto/network/cache_server.h"
#include "platform/crypto/network/url_cache.h"

namespace tallow::platform {

class RedisCache : public UrlCache {
public:
    explicit RedisCache(CacheServer& server) : server_(server) {}

    std::optional<CachedAnswer> findChanged(const std::string& url, long maxAgeSeconds, const FILETIME* notBefore,
                                            const KnownAnswer& known, std::size_t largest) const override;
    void keep(const std::string& url, ByteView answer, long lifetimeSeconds) const override;
    bool forget(const std::string& url) const override;

private:
    CacheServer& server_;
};

}  // namespace tallow::platform
