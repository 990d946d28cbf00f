// A lock of the library's own, which no child of fork finds held by a thread that it lacks.
#pragma once

#include <mutex>

#include "handles/optional_services.h"

namespace tallow {

class ForkSafeLock {
public:
    explicit ForkSafeLock(std::mutex& mutex) : lock_(mutex) {}

private:
    struct Gate {
        Gate() noexcept {
            if (support_fork_gate_enter != nullptr) {
                support_fork_gate_enter();
            }
        }
        ~Gate() {
            if (support_fork_gate_leave != nullptr) {
                support_fork_gate_leave();
            }
        }
        Gate(const Gate&) = delete;
        Gate& operator=(const Gate&) = delete;
    };

    Gate gate_;  // entered first
    std::scoped_lock<std::mutex> lock_;
};

}  // namespace tallow
