#include "proof/common/tally.h"

#include <sys/mman.h>

#include <cstring>
#include <stdexcept>

namespace proof {

Tally::Tally() {
    void* const memory =
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);  // all zero
    if (memory == MAP_FAILED) {
        throw std::runtime_error("no shared memory");
    }
    shared_ = static_cast<Shared*>(memory);
    for (auto& number : shared_->current) {
        number = kIdle;
    }
}

Tally::~Tally() {
    ::munmap(shared_, sizeof(Shared));
}

Tally::Slot& Tally::slotOf(const std::string& name) {
    if (const auto known = known_.find(name); known != known_.end()) {
        return *known->second;
    }
    if (name.size() >= sizeof(Slot::name)) {
        throw std::runtime_error("the name of a count is too long: " + name);
    }
    while (shared_->isLocked.test_and_set()) {
    }
    Slot* slot = nullptr;
    for (std::size_t i = 0; i < shared_->used && slot == nullptr; ++i) {
        slot = name == shared_->slots[i].name ? &shared_->slots[i] : nullptr;
    }
    if (slot == nullptr && shared_->used < kNames) {
        slot = &shared_->slots[shared_->used];
        std::memcpy(slot->name, name.c_str(), name.size() + 1);
        ++shared_->used;
    }
    shared_->isLocked.clear();
    if (slot == nullptr) {
        throw std::runtime_error("too many names of counts");
    }
    return *(known_[name] = slot);
}

void Tally::add(const std::string& name, std::uint64_t number) {
    slotOf(name).number += number;
}

std::map<std::string, std::uint64_t> Tally::counts() const {
    std::map<std::string, std::uint64_t> counts;
    for (std::size_t i = 0; i < shared_->used; ++i) {
        counts[shared_->slots[i].name] = shared_->slots[i].number;
    }
    return counts;
}

void Tally::endCase(unsigned worker) {
    shared_->current[worker] = kIdle;
    ++shared_->done;
}

}  // namespace proof
