#include "platform/crypto/network/download_memory.h"

#include <utility>

#include "platform/support/never_destroyed.h"

namespace tallow::platform {

std::shared_ptr<const RememberedDownload> DownloadMemory::find(const std::string& url, long maxAgeSeconds,
                                                               const FILETIME* notBefore) {
    std::shared_ptr<const RememberedDownload> found = memory_.recall(url);
    return found && found->header.isFresh(maxAgeSeconds, notBefore) ? found : nullptr;
}

void DownloadMemory::keep(const std::string& url, ByteView answer) {
    auto kept = std::make_shared<RememberedDownload>();
    kept->header = CacheEntryHeader::of(url, answer);
    kept->digest = digestOf(answer);
    kept->answer.assign(answer.begin(), answer.end());
    memory_.remember(url, std::move(kept), sizeof(RememberedDownload) + url.size() + answer.size());
}

DownloadMemory& downloadMemory() {
    static NeverDestroyed<DownloadMemory> memory(std::size_t{256}, std::size_t{32} << 20);
    return *memory;
}

}  // namespace tallow::platform
