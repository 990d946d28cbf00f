// The cache of one user, in a directory.
//
// The directory is the setting url_cache of the table [crypto], by default $XDG_CACHE_HOME/tallow/ocsp. An entry is one
// file, named after the hash of its URL, that begins with the URL itself, so that two URLs can never share an answer.
// It is written to a temporary file and renamed: a crash leaves the old entry or none, never half of one. A directory
// or file that another user owns or may write is not used, and no symbolic link is followed to an entry. The directory
// holds at most 1024 entries and 256 MiB: the oldest are removed first.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "platform/crypto/network/download_memory.h"
#include "platform/crypto/network/url_cache.h"

namespace tallow::platform {

class DirectoryCache : public UrlCache {
public:
    // "" keeps nothing. What the directory cannot take is kept in `memory`, which outlives the object; null: nowhere.
    explicit DirectoryCache(std::string folder, DownloadMemory* memory = nullptr)
        : folder_(std::move(folder)), memory_(memory) {}

    // That of the settings. It uses neither directory nor memory when they say so or are broken.
    static std::unique_ptr<const DirectoryCache> ofUser(DownloadMemory* memory);

    std::optional<CachedAnswer> findChanged(const std::string& url, long maxAgeSeconds, const FILETIME* notBefore,
                                            const KnownAnswer& known, std::size_t largest) const override;
    void keep(const std::string& url, ByteView answer, long lifetimeSeconds) const override;
    bool forget(const std::string& url) const override;

private:
    std::optional<CachedAnswer> findFile(const std::string& url, long maxAgeSeconds, const FILETIME* notBefore,
                                         const KnownAnswer& known, std::size_t largest) const;
    bool write(const std::string& url, ByteView answer) const;

    std::string folder_;
    DownloadMemory* memory_;
};

}  // namespace tallow::platform
