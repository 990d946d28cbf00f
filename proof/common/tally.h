// Counters by name, and the number of findings, in memory that worker processes share.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>

namespace proof {

class Tally {
public:
    Tally();
    ~Tally();
    Tally(const Tally&) = delete;
    Tally& operator=(const Tally&) = delete;

    void add(const std::string& name, std::uint64_t number);
    std::map<std::string, std::uint64_t> counts() const;

    /// The next number from 0 of the two sequences.
    std::uint64_t takeCase() { return shared_->nextCase++; }
    std::uint64_t takeFinding() { return shared_->findings++; }
    std::uint64_t findings() const { return shared_->findings; }
    std::uint64_t done() const { return shared_->done; }
    void endCase(unsigned worker);
    /// The case that the worker is busy with, and kIdle for none.
    std::atomic<std::uint64_t>& current(unsigned worker) { return shared_->current[worker]; }

    static constexpr std::uint64_t kIdle = ~std::uint64_t{0};
    static constexpr unsigned kMaxWorkers = 64;

private:
    static constexpr std::size_t kNames = 1024;
    struct Slot {
        char name[96];
        std::atomic<std::uint64_t> number;
    };
    struct Shared {
        std::atomic<std::uint64_t> nextCase, findings, done, used;
        std::atomic_flag isLocked;  // held while a slot is claimed
        std::atomic<std::uint64_t> current[kMaxWorkers];
        Slot slots[kNames];
    };
    Slot& slotOf(const std::string& name);

    Shared* shared_;
    std::map<std::string, Slot*> known_;  // of this process
};

}  // namespace proof
