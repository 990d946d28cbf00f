#include "platform/crypto/network/multi_handle.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>

namespace tallow::platform {

namespace {

constexpr std::size_t kMostCandidates = 16;  // other threads open files meanwhile

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

// How much waits in a socket to be read, and of what was written how much is not read yet. Each octet that is written
// alone counts as many for the second.
struct Filling {
    int numIn = 0;
    int numOut = 0;
    bool operator==(const Filling&) const = default;
};

Filling fillingOf(int socket) noexcept {
    Filling filling;
    return ::ioctl(socket, FIONREAD, &filling.numIn) == 0 && ::ioctl(socket, SIOCOUTQ, &filling.numOut) == 0
               ? filling
               : Filling{-1, -1};
}

bool isLocalSocketThatDoesNotBlock(int descriptor) noexcept {
    int domain = 0;
    socklen_t size = sizeof domain;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX &&
           (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0;
}

struct Candidate {
    int descriptor = -1;
    Filling once;  // after one octet
};

}  // namespace

// libcurl does not tell their numbers: they are those that it fills with exactly as many octets as it is asked for.
// Other threads use sockets of their own meanwhile.
MultiPtr makeMultiHandle(std::array<int, 2>& wakeUp) noexcept {
    constexpr int kNumOctets = 5;
    wakeUp.fill(-1);
    const int lowest = lowestFree();
    MultiPtr multi(curl_multi_init());
    std::array<Candidate, kMostCandidates> candidates;
    std::size_t num = 0;
    for (int i = 0; multi && lowest >= 0 && i < static_cast<int>(kMostCandidates); ++i) {
        if (isInherited(lowest + i) && isLocalSocketThatDoesNotBlock(lowest + i) &&
            fillingOf(lowest + i) == Filling{}) {
            candidates[num++].descriptor = lowest + i;
        }
    }
    if (num == 0) {
        return multi;
    }
    const auto keepThose = [&candidates, &num](auto fits) {
        const auto end = std::remove_if(candidates.begin(), candidates.begin() + num,
                                        [&](Candidate& one) { return !fits(one, fillingOf(one.descriptor)); });
        num = static_cast<std::size_t>(end - candidates.begin());
    };
    static_cast<void>(curl_multi_wakeup(multi.get()));
    keepThose([](Candidate& one, const Filling& now) {
        one.once = now;
        return now == Filling{1, 0} || (now.numIn == 0 && now.numOut > 0);
    });
    for (int i = 1; i < kNumOctets; ++i) {
        static_cast<void>(curl_multi_wakeup(multi.get()));
    }
    keepThose([](const Candidate& one, const Filling& now) {
        return now == Filling{kNumOctets * one.once.numIn, kNumOctets * one.once.numOut};
    });
    static_cast<void>(curl_multi_poll(multi.get(), nullptr, 0, 0, nullptr));
    keepThose([](const Candidate& /*one*/, const Filling& now) { return now == Filling{}; });
    for (std::size_t i = 0; num == wakeUp.size() && i < num; ++i) {
        wakeUp[i] = candidates[i].descriptor;
        ::fcntl(wakeUp[i], F_SETFD, FD_CLOEXEC);
    }
    return multi;
}

}  // namespace tallow::platform
