// A value that is made on first use and then kept. Only success is kept: after a failure, such as
// exhausted memory, the next caller tries again. Takes no lock, so a process forked at any moment can still use it;
// concurrent callers may each make one, and one of them is kept.
#pragma once

#include <atomic>
#include <memory>

namespace tallow::platform {

template <typename Owner>
class MadeOnce {
public:
    using Pointer = typename Owner::pointer;

    MadeOnce() noexcept = default;
    MadeOnce(const MadeOnce&) = delete;
    MadeOnce& operator=(const MadeOnce&) = delete;
    ~MadeOnce() { const Owner last(value_.load(std::memory_order_relaxed)); }

    // The kept value, or the result of `make`; null when that failed.
    template <typename Make>
    Pointer get(Make make) {
        Pointer kept = value_.load(std::memory_order_acquire);
        if (kept != nullptr) {
            return kept;
        }
        Owner made = make();
        if (made != nullptr && value_.compare_exchange_strong(kept, made.get(), std::memory_order_acq_rel)) {
            return made.release();
        }
        return kept;  // another thread's; null when nothing was made
    }

private:
    std::atomic<Pointer> value_{nullptr};
};

}  // namespace tallow::platform
