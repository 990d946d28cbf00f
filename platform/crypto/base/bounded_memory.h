// Values by a text, such as an address: a limited number of them, of a limited size together. Those that were not
// recalled for the longest time are forgotten first.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <list>
#include <mutex>
#include <string>
#include <utility>

namespace tallow::platform {

// Safe for use from any thread. `Value` is cheap to copy; one without content means "none".
template <typename Value>
class BoundedMemory {
public:
    BoundedMemory(std::size_t maxCount, std::size_t maxOctets) : maxCount_(maxCount), maxOctets_(maxOctets) {}

    // The default value when there is none.
    Value recall(const std::string& name) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = find(name);
        if (found == items_.end()) {
            return {};
        }
        items_.splice(items_.begin(), items_, found);
        return found->value;
    }

    // Replaces what is remembered for `name`. A value that is larger than the limit only removes it.
    void remember(const std::string& name, Value value, std::size_t size) {
        Items added;
        if (size <= maxOctets_) {
            added.push_back({name, std::move(value), size});
        }
        Items forgotten;  // freed after the lock: a large one takes a while
        const std::lock_guard<std::mutex> lock(mutex_);
        forgetOne(name, forgotten);
        octets_ += added.empty() ? 0 : size;
        items_.splice(items_.begin(), added);
        while (items_.size() > maxCount_ || octets_ > maxOctets_) {
            move(std::prev(items_.end()), forgotten);
        }
    }

    void forget(const std::string& name) {
        Items forgotten;
        const std::lock_guard<std::mutex> lock(mutex_);
        forgetOne(name, forgotten);
    }

private:
    struct Item {
        std::string name;
        Value value;
        std::size_t size;
    };
    using Items = std::list<Item>;

    typename Items::iterator find(const std::string& name) {
        return std::find_if(items_.begin(), items_.end(), [&](const Item& item) { return item.name == name; });
    }
    void forgetOne(const std::string& name, Items& forgotten) {
        if (const auto found = find(name); found != items_.end()) {
            move(found, forgotten);
        }
    }
    void move(typename Items::iterator item, Items& forgotten) {
        octets_ -= item->size;
        forgotten.splice(forgotten.end(), items_, item);
    }

    const std::size_t maxCount_;
    const std::size_t maxOctets_;
    std::mutex mutex_;
    Items items_;  // the last one recalled first
    std::size_t octets_ = 0;
};

}  // namespace tallow::platform
