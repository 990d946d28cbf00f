// Remembers which key made the signature of a certificate or CRL. That never changes, since bytes, signature and key
// are fixed. Whether the algorithm is strong enough is checked elsewhere, each time.
#pragma once

#include <algorithm>
#include <mutex>
#include <span>
#include <vector>

namespace tallow::platform {

// Safe for use from any thread. Only the last key is kept.
class KnownSigner {
public:
    using View = std::span<const unsigned char>;

    bool is(View publicKeyInfo) const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return !publicKeyInfo_.empty() && std::ranges::equal(publicKeyInfo_, publicKeyInfo);
    }
    void note(View publicKeyInfo) {
        const std::lock_guard<std::mutex> lock(mutex_);
        publicKeyInfo_.assign(publicKeyInfo.begin(), publicKeyInfo.end());
    }

private:
    mutable std::mutex mutex_;
    std::vector<unsigned char> publicKeyInfo_;
};

}  // namespace tallow::platform
