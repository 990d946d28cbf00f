#include "checker/silent_responders.h"

#include <map>
#include <mutex>
#include <string_view>

#include "handles/fork_safe_lock.h"

namespace tallow {

namespace {

// Bounds the memory of a long run; a responder that is not in it is asked again.
constexpr std::size_t kMostServers = 1000;

// "host:port" of an address: what does not answer is the server, whatever the path and the login.
std::string serverOf(const std::string& url) {
    const std::size_t scheme = url.find("://");
    const std::size_t begin = scheme == std::string::npos ? 0 : scheme + 3;
    const std::string authority = url.substr(begin, url.find_first_of("/?#", begin) - begin);
    return url.substr(0, begin) + authority.substr(authority.rfind('@') + 1);
}

}  // namespace

struct TALLOW_HIDDEN SilentResponders::Impl {
    mutable std::mutex mutex;
    std::map<std::string, std::string> reasons;  // by server
};

SilentResponders::SilentResponders() : impl_(std::make_unique<Impl>()) {}
SilentResponders::~SilentResponders() = default;

void SilentResponders::add(const std::string& url, const std::string& reason) {
    const ForkSafeLock lock(impl_->mutex);
    if (impl_->reasons.size() < kMostServers) {
        impl_->reasons.emplace(serverOf(url), reason);
    }
}

std::optional<std::string> SilentResponders::reasonFor(const std::string& url) const {
    const ForkSafeLock lock(impl_->mutex);
    const auto found = impl_->reasons.find(serverOf(url));
    return found == impl_->reasons.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace tallow
