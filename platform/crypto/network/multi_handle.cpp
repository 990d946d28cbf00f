#include "platform/crypto/network/multi_handle.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bitset>

namespace tallow::platform {

namespace {

constexpr std::size_t kNumCandidates = 16;  // other threads open files meanwhile

int lowestFree() noexcept {
    const int one = ::eventfd(0, EFD_CLOEXEC);
    if (one >= 0) {
        ::close(one);
    }
    return one;
}

// Whether a program that is started would inherit it.
bool isInherited(int descriptor) noexcept {
    const int flags = ::fcntl(descriptor, F_GETFD);
    return flags >= 0 && (flags & FD_CLOEXEC) == 0;
}

// Whether octets are on their way through a pipe, or out of or into a socket.
bool isFilled(int descriptor) noexcept {
    struct stat status {};
    int numIn = 0;
    int numOut = 0;
    if (::fstat(descriptor, &status) != 0 || (!S_ISSOCK(status.st_mode) && !S_ISFIFO(status.st_mode))) {
        return false;
    }
    const bool isIn = ::ioctl(descriptor, FIONREAD, &numIn) == 0 && numIn > 0;
    return isIn || (S_ISSOCK(status.st_mode) && ::ioctl(descriptor, SIOCOUTQ, &numOut) == 0 && numOut > 0);
}

}  // namespace

// libcurl does not tell their numbers: they are those that are filled exactly while the handle is about to wake.
MultiPtr makeMultiHandle(std::array<int, 2>& wakeUp) noexcept {
    wakeUp.fill(-1);
    const int lowest = lowestFree();
    MultiPtr multi(curl_multi_init());
    if (!multi || lowest < 0) {
        return multi;
    }
    std::bitset<kNumCandidates> candidates;
    for (std::size_t i = 0; i < kNumCandidates; ++i) {
        const int descriptor = lowest + static_cast<int>(i);
        candidates[i] = isInherited(descriptor) && !isFilled(descriptor);
    }
    if (candidates.none() || curl_multi_wakeup(multi.get()) != CURLM_OK) {
        return multi;
    }
    for (std::size_t i = 0; i < kNumCandidates; ++i) {
        candidates[i] = candidates[i] && isFilled(lowest + static_cast<int>(i));
    }
    static_cast<void>(curl_multi_poll(multi.get(), nullptr, 0, 0, nullptr));
    auto next = wakeUp.begin();
    for (std::size_t i = 0; i < kNumCandidates && next != wakeUp.end(); ++i) {
        const int descriptor = lowest + static_cast<int>(i);
        if (candidates[i] && !isFilled(descriptor)) {
            ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
            *next++ = descriptor;
        }
    }
    return multi;
}

}  // namespace tallow::platform
