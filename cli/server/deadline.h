// The end of the time for one server.
#pragma once

#include <chrono>
#include <string>

namespace tallow::cli {

class Deadline {
public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(std::chrono::milliseconds limit) : limit_(limit), end_(Clock::now() + limit) {}

    Clock::time_point end() const { return end_; }
    /// For poll(2): rounded up, 0 when the time is over.
    int millisecondsLeft() const;
    /// "30 s" or "500 ms".
    std::string limit() const;
    /// Throws ServerFailure: `what` was not done in time.
    [[noreturn]] void fail(const std::string& what) const;

private:
    std::chrono::milliseconds limit_;
    Clock::time_point end_;
};

}  // namespace tallow::cli
