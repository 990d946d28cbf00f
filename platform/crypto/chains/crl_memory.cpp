#include "platform/crypto/chains/crl_memory.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/support/never_destroyed.h"

namespace tallow::platform {

CrlMemory::Items::iterator CrlMemory::find(const std::string& url) {
    return std::find_if(items_.begin(), items_.end(), [&](const Item& item) { return item.url == url; });
}

RememberedCrl CrlMemory::recall(const std::string& url) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = find(url);
    if (found == items_.end()) {
        return {};
    }
    items_.splice(items_.begin(), items_, found);
    return found->remembered;
}

void CrlMemory::remember(const std::string& url, RememberedCrl crl) {
    // A defect may be the result of exhausted memory.
    if (!crl.crl || crl.crl->defect != nullptr) {
        return;
    }
    const std::size_t size = crl.crl->maximumMemory();
    Items added;
    if (size <= maxOctets_) {
        added.push_back({url, std::move(crl), size});
    }
    Items forgotten;  // freed after the lock: a large one takes a while
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto forget = [&](Items::iterator item) {
        octets_ -= item->size;
        forgotten.splice(forgotten.end(), items_, item);
    };
    if (const auto before = find(url); before != items_.end()) {
        forget(before);
    }
    octets_ += added.empty() ? 0 : size;
    items_.splice(items_.begin(), added);
    while (items_.size() > maxCount_ || octets_ > maxOctets_) {
        forget(std::prev(items_.end()));
    }
}

CrlMemory& crlMemory() {
    static NeverDestroyed<CrlMemory> memory(std::size_t{256}, std::size_t{64} << 20);
    return *memory;
}

}  // namespace tallow::platform
