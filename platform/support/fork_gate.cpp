#include "platform/support/fork_gate.h"

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include "platform/support/support_service.h"

namespace tallow::platform {

namespace {

using namespace std::chrono_literals;

constexpr auto kLongestWait = 1s;
constexpr auto kLongestCourtesy = 100ms;
constexpr auto kPause = 50us;

// Constant-initialised and never destroyed: calls come from static objects of other libraries.

// The generation of the process in the upper half, and how many threads are inside in the lower one: a child of fork
// changes both at once.
constexpr unsigned int kHalf = 32;
constinit std::atomic<std::uint64_t> state{std::uint64_t{1} << kHalf};
constinit std::atomic<unsigned int> forks{0};  // in progress
constinit std::atomic<bool> isEntryWanted{false};
constinit std::atomic<pthread_t> survivor{};

// The generation in which the thread was counted, 0 while it is not. A signal handler may fork between any two steps of
// the thread, and only it sees this variable besides, in the order of the program.
class CountedIn {
public:
    std::uint32_t get() const noexcept { return generation_.load(std::memory_order_relaxed); }
    void set(std::uint32_t generation) noexcept {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        generation_.store(generation, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    std::uint32_t take() noexcept { return generation_.exchange(0); }

private:
    std::atomic<std::uint32_t> generation_{0};
};
constinit thread_local CountedIn countedIn;
constinit thread_local unsigned int depth = 0;

constexpr std::uint32_t generationOf(std::uint64_t value) {
    return static_cast<std::uint32_t>(value >> kHalf);
}

constexpr std::uint32_t threadsInside(std::uint64_t value) {
    return static_cast<std::uint32_t>(value);
}

// Takes back what was counted, unless this is a child by now, where it never was.
void uncount(std::uint32_t generation) noexcept {
    std::uint64_t value = state.load();
    while (generationOf(value) == generation && !state.compare_exchange_weak(value, value - 1)) {
    }
}

void enter() noexcept {
    for (;;) {
        const std::uint32_t generation = generationOf(state.fetch_add(1));
        if (forks.load() != 0) {
            uncount(generation);
            while (forks.load() != 0) {
                isEntryWanted.store(true);
                std::this_thread::sleep_for(kPause);
            }
            continue;
        }
        countedIn.set(generation);
        if (generationOf(state.load()) == countedIn.get()) {
            return;
        }
        uncount(countedIn.take());  // a handler forked since: this is the child
    }
}

void leave() noexcept {
    uncount(countedIn.take());
}

// A thread may fork within a call of its own, from a function that the service calls back.
std::uint32_t ownShare() noexcept {
    return countedIn.get() != 0 ? 1 : 0;
}

// Threads that fork all the time would keep the others out: those that wait to enter go first, for a while.
void beforeFork() noexcept {
    const auto begun = std::chrono::steady_clock::now();
    while (isEntryWanted.exchange(false) && std::chrono::steady_clock::now() < begun + kLongestCourtesy) {
        std::this_thread::sleep_for(4 * kPause);
    }
    forks.fetch_add(1);
    while (threadsInside(state.load()) > ownShare() && std::chrono::steady_clock::now() < begun + kLongestWait) {
        std::this_thread::sleep_for(kPause);
    }
}

// A signal handler may have forked while this fork was in progress. For its child there is none.
void inParent() noexcept {
    unsigned int before = forks.load();
    while (before > 0 && !forks.compare_exchange_weak(before, before - 1)) {
    }
}

void inChild() noexcept {
    const std::uint32_t generation = generationOf(state.load()) + 1;
    state.store((std::uint64_t{generation} << kHalf) + ownShare());
    countedIn.set(ownShare() != 0 ? generation : 0);
    survivor.store(::pthread_self());
    isEntryWanted.store(false);
    forks.store(0);
}

[[gnu::constructor]] void watchForks() noexcept {
    ::pthread_atfork(beforeFork, inParent, inChild);
}

}  // namespace

void ForkGate::enterOne() noexcept {
    if (depth++ == 0) {
        enter();
    }
}

void ForkGate::leaveOne() noexcept {
    if (--depth == 0) {
        leave();
    }
}

std::uint32_t ForkGate::generation() noexcept {
    return generationOf(state.load());
}

pthread_t ForkGate::survivor() noexcept {
    return platform::survivor.load();
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

void support_fork_gate_enter() {
    tallow::platform::ForkGate::enterOne();
}

void support_fork_gate_leave() {
    tallow::platform::ForkGate::leaveOne();
}
