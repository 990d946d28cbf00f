// CRLs and issuer certificates that belong in the cache directory but could not be written there: it is read-only or
// full, others may write it, or HOME is not set. Without them a run over many certificates would download the same CRL
// for each.
//
// They count by the rules for entries of the directory (url_cache.h), and only while it has no later one.
#pragma once

#include <memory>
#include <string>

#include "platform/crypto/base/bounded_memory.h"
#include "platform/crypto/network/cache_entry.h"

namespace tallow::platform {

struct RememberedDownload {
    CacheEntryHeader header;  // as in the file that could not be written
    AnswerDigest digest{};
    Bytes answer;
};

// Safe for use from any thread.
class DownloadMemory {
public:
    DownloadMemory(std::size_t maxCount, std::size_t maxOctets) : memory_(maxCount, maxOctets) {}

    // Null when there is none that counts: see UrlCache::find.
    std::shared_ptr<const RememberedDownload> find(const std::string& url, long maxAgeSeconds,
                                                   const FILETIME* notBefore);
    void keep(const std::string& url, ByteView answer);
    void forget(const std::string& url) { memory_.forget(url); }

private:
    BoundedMemory<std::shared_ptr<const RememberedDownload>> memory_;
};

// That of the process: 256 downloads in 32 MiB.
DownloadMemory& downloadMemory();

}  // namespace tallow::platform
