#include "platform/support/fork_gate.h"

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace tallow::platform {

namespace {

using namespace std::chrono_literals;

constexpr auto kLongestWait = 1s;
constexpr auto kPause = 50us;

// Constant-initialised and never destroyed: calls come from static objects of other libraries.
constinit std::atomic<unsigned int> threadsInside{0};
constinit std::atomic<unsigned int> forks{0};  // in progress
constinit thread_local unsigned int depth = 0;

void enter() noexcept {
    for (;;) {
        threadsInside.fetch_add(1);
        if (forks.load() == 0) {
            return;
        }
        threadsInside.fetch_sub(1);
        while (forks.load() != 0) {
            std::this_thread::sleep_for(kPause);
        }
    }
}

void leave() noexcept {
    threadsInside.fetch_sub(1);
}

// A thread may fork within a call of its own, from a function that the service calls back.
unsigned int ownShare() noexcept {
    return depth > 0 ? 1 : 0;
}

void beforeFork() noexcept {
    forks.fetch_add(1);
    const auto end = std::chrono::steady_clock::now() + kLongestWait;
    while (threadsInside.load() > ownShare() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kPause);
    }
}

void inParent() noexcept {
    forks.fetch_sub(1);
}

void inChild() noexcept {
    threadsInside.store(ownShare());
    forks.store(0);
}

[[gnu::constructor]] void watchForks() noexcept {
    ::pthread_atfork(beforeFork, inParent, inChild);
}

}  // namespace

ForkGate::ForkGate() noexcept {
    if (depth++ == 0) {
        enter();
    }
}

ForkGate::~ForkGate() {
    if (--depth == 0) {
        leave();
    }
}

unsigned int ForkGate::leaveAll() noexcept {
    const unsigned int numGates = depth;
    if (numGates > 0) {
        depth = 0;
        leave();
    }
    return numGates;
}

void ForkGate::enterAgain(unsigned int numGates) noexcept {
    if (numGates > 0) {
        enter();
        depth = numGates;
    }
}

}  // namespace tallow::platform
