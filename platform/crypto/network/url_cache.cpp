#include "platform/crypto/network/url_cache.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/network/directory_cache.h"
#include "platform/crypto/network/download_memory.h"
#include "platform/crypto/network/redis_cache.h"
#include "platform/support/settings_table.h"

namespace tallow::platform {

std::unique_ptr<const UrlCache> UrlCache::ofSettings(bool mayUseNetwork, CacheContent content) {
    const TextValue server = textValueOf(setting::cache);
    if (isForbidden(CRYPTO_CHECK_NO_CACHE) || server.source == TextValue::Source::kUnreadable) {
        return std::make_unique<const DirectoryCache>("");
    }
    if (server.text.empty()) {
        DownloadMemory* const memory = content == CacheContent::kDownloads ? &downloadMemory() : nullptr;
        return DirectoryCache::ofUser(memory);
    }
    if (!mayUseNetwork || isForbidden(CRYPTO_CHECK_NO_DOWNLOADS)) {
        return std::make_unique<const DirectoryCache>("");
    }
    return std::make_unique<const RedisCache>(CacheServer::ofProcess());
}

std::optional<Bytes> UrlCache::find(const std::string& url, long maxAgeSeconds, const FILETIME* notBefore,
                                    std::size_t largest) const {
    std::optional<CachedAnswer> found = findChanged(url, maxAgeSeconds, notBefore, KnownAnswer(), largest);
    return found ? std::move(found->answer) : std::nullopt;
}

long lifetimeUntil(std::optional<long long> nextUpdate, long maxAgeSeconds) {
    using std::chrono::system_clock;
    const long long now = system_clock::to_time_t(system_clock::now());
    const long long left = nextUpdate ? *nextUpdate - now : maxAgeSeconds;
    return static_cast<long>(std::clamp(left, 0LL, static_cast<long long>(maxAgeSeconds)));
}

}  // namespace tallow::platform
