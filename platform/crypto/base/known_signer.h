// Remembers by which key the signature of a certificate or a CRL was found to be made. Such a fact never changes:
// bytes, signature and key are what they are. What an algorithm is worth is judged elsewhere, each time anew.
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
