#include "platform/crypto/network/recent_entries.h"

namespace tallow::platform {

std::shared_ptr<const Bytes> RecentEntries::find(const std::string& key) {
    const std::scoped_lock lock(mutex_);
    const auto found = items_.find(key);
    return found == items_.end() || Clock::now() - found->second.since > kLifetime ? nullptr : found->second.octets;
}

void RecentEntries::keep(const std::string& key, ByteView entry, std::size_t sizeFront) {
    const ByteView kept = entry.size() <= kMaxSize ? entry : entry.first(sizeFront);
    if (kept.size() > kMaxSize) {
        return;
    }
    const auto octets = std::make_shared<const Bytes>(kept.begin(), kept.end());
    const Clock::time_point now = Clock::now();
    const std::scoped_lock lock(mutex_);
    if (items_.size() >= kMaxEntries) {
        std::erase_if(items_, [now](const auto& item) { return now - item.second.since > kLifetime; });
    }
    if (items_.size() < kMaxEntries) {
        items_.insert_or_assign(key, Item{octets, now});
    }
}

void RecentEntries::forget(const std::string& key) {
    const std::scoped_lock lock(mutex_);
    items_.erase(key);
}

void RecentEntries::forgetAll() {
    const std::scoped_lock lock(mutex_);
    items_.clear();
}

}  // namespace tallow::platform
