#include "cli/batch/work_queue.h"

#include <algorithm>
#include <utility>

namespace tallow::cli {

namespace {

constexpr std::size_t kMostOctets = std::size_t{64} << 20;

// What is shared by the items of a file counts for each of them. An identifier and a fingerprint are short.
std::size_t sizeOf(const BatchItem& item) {
    std::size_t size = sizeof item + item.label.size() + item.certificate.size() + item.issuer.size() +
                       item.url.size() + (item.others ? item.others->size() : 0);
    for (const std::string& host : item.hosts) {
        size += host.size();
    }
    for (std::size_t i = 0; item.crls && i < item.crls->size(); ++i) {
        size += (*item.crls)[i].size();
    }
    return size;
}

}  // namespace

bool WorkQueue::put(BatchItem& item, std::chrono::milliseconds longest) {
    std::unique_lock lock(mutex_);
    if (!canPut_.wait_for(lock, longest,
                          [this] { return (numWaiting_ < mostWaiting_ && sizeWaiting_ < kMostOctets) || isClosed_; })) {
        return false;
    }
    if (isClosed_) {
        return true;  // stopped: it would be dropped
    }
    const auto found = groups_.try_emplace(item.group).first;
    Group& group = found->second;
    if (group.waiting.empty()) {
        turns_.push_back(&*found);
        group.hosts = item.hosts;
    }
    sizeWaiting_ += sizeOf(item);
    group.waiting.push_back(std::move(item));
    ++numWaiting_;
    canTake_.notify_one();
    return true;
}

void WorkQueue::close() {
    const std::scoped_lock lock(mutex_);
    isClosed_ = true;
    canTake_.notify_all();
}

void WorkQueue::stop() {
    const std::scoped_lock lock(mutex_);
    isClosed_ = true;
    numWaiting_ = 0;
    sizeWaiting_ = 0;
    turns_.clear();
    for (auto& [name, group] : groups_) {
        group.waiting.clear();
    }
    canTake_.notify_all();
    canPut_.notify_all();
}

bool WorkQueue::mayBegin(const Group& group) const {
    return (group.isKnown || group.numRunning == 0) &&
           std::all_of(group.hosts.begin(), group.hosts.end(), [this](const std::string& host) {
               const auto running = numRunning_.find(host);
               return running == numRunning_.end() || running->second < perHost_;
           });
}

std::vector<BatchItem> WorkQueue::takeNext(std::size_t most) {
    const auto turn =
        std::find_if(turns_.begin(), turns_.end(), [this](const auto* entry) { return mayBegin(entry->second); });
    if (turn == turns_.end()) {
        return {};
    }
    auto* const entry = *turn;
    Group& group = entry->second;
    turns_.erase(turn);
    const bool isAlone = !group.isKnown || group.waiting.front().crls || group.waiting.front().identifier;
    std::vector<BatchItem> items;
    do {
        sizeWaiting_ -= sizeOf(group.waiting.front());
        items.push_back(std::move(group.waiting.front()));
        group.waiting.pop_front();
    } while (!isAlone && items.size() < most && !group.waiting.empty() && !group.waiting.front().crls);
    if (!group.waiting.empty()) {
        turns_.push_back(entry);
    }
    numWaiting_ -= items.size();
    ++numTaken_;
    ++group.numRunning;
    for (const std::string& host : group.hosts) {
        ++numRunning_[host];
    }
    return items;
}

std::vector<BatchItem> WorkQueue::take(std::size_t most) {
    std::unique_lock lock(mutex_);
    for (;;) {
        if (std::vector<BatchItem> items = takeNext(most); !items.empty()) {
            canPut_.notify_one();
            canTake_.notify_one();  // what ended may have made way for more than one
            return items;
        }
        if (isClosed_ && numWaiting_ == 0) {
            canTake_.notify_all();
            return {};
        }
        canTake_.wait(lock);
    }
}

bool WorkQueue::isDone(std::chrono::milliseconds longest) {
    std::unique_lock lock(mutex_);
    return isAllDone_.wait_for(lock, longest, [this] { return numWaiting_ == 0 && numTaken_ == 0; });
}

void WorkQueue::done(const BatchItem& item) {
    const std::scoped_lock lock(mutex_);
    Group& group = groups_.at(item.group);
    --group.numRunning;
    group.isKnown = true;
    for (const std::string& host : group.hosts) {
        const auto running = numRunning_.find(host);
        if (--running->second == 0) {
            numRunning_.erase(running);
        }
    }
    if (group.waiting.empty() && group.numRunning == 0) {
        group.hosts = {};  // the next item of the group names them again
    }
    forgetIdle();
    canTake_.notify_one();
    if (--numTaken_ == 0 && numWaiting_ == 0) {
        isAllDone_.notify_all();
    }
}

// A group that is forgotten begins anew with one check.
void WorkQueue::forgetIdle() {
    constexpr std::size_t kMostGroups = 10000;
    if (groups_.size() > kMostGroups) {
        std::erase_if(groups_,
                      [](const auto& entry) { return entry.second.waiting.empty() && entry.second.numRunning == 0; });
    }
}

}  // namespace tallow::cli
