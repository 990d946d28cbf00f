// Threads that repeat an action while a test does something else.
#pragma once

#include <atomic>
#include <functional>
#include <latch>
#include <thread>
#include <utility>
#include <vector>

namespace testkit {

/// `count` threads that repeat `action` until the object is destroyed. When it is constructed, all have begun:
/// AddressSanitizer allocates memory when a thread starts, and a child forked in that moment waits for ever for the
/// lock of its allocator, which glibc's own allocator releases in children.
class RepeatingThreads {
public:
    RepeatingThreads(int count, std::function<void()> action) : action_(std::move(action)), begun_(count) {
        for (int i = 0; i < count; ++i) {
            threads_.emplace_back([this] {
                begun_.count_down();
                while (!isOver_) {
                    action_();
                }
            });
        }
        begun_.wait();
    }
    ~RepeatingThreads() { isOver_ = true; }
    RepeatingThreads(const RepeatingThreads&) = delete;
    RepeatingThreads& operator=(const RepeatingThreads&) = delete;

private:
    const std::function<void()> action_;
    std::latch begun_;
    std::atomic<bool> isOver_{false};
    std::vector<std::jthread> threads_;  // the last member, so that they end first
};

}  // namespace testkit
