// What waits to be checked, and which of it may begin now.
//
// Certificates of a group have the same responders and issuer. The first of each group is checked alone: what it
// downloads and finds out (CRLs, issuers, a responder that does not answer) is there when the others begin. Groups take
// turns, so that a slow responder does not hold up the others as long as there is room.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "cli/batch/batch_item.h"

namespace tallow::cli {

/// One thread puts items in, several take them. The number of items, groups and hosts in it is bounded.
class WorkQueue {
public:
    /// At most `mostWaiting` items wait, and fewer when they are large; at most `perHost` of those that were taken and
    /// are not done name the same host.
    WorkQueue(std::size_t mostWaiting, std::size_t perHost) : mostWaiting_(mostWaiting), perHost_(perHost) {}

    /// Adds the item. False, and the item is as before, when there is no room for this long.
    [[nodiscard]] bool put(BatchItem& item, std::chrono::milliseconds longest);
    /// No more items are put in.
    void close();
    /// What waits is dropped, and no more is taken.
    void stop();

    /// The next item that may begin, and up to `most` with it of its group once one of that is done; waits for it.
    /// Empty when there will be none. Those with CRLs of their own, and identifiers, come
    /// alone.
    std::vector<BatchItem> take(std::size_t most = 1);
    /// What was taken at once is done; `item` is one of it.
    void done(const BatchItem& item);
    /// After `close`: whether all is done, or becomes so in this time.
    [[nodiscard]] bool isDone(std::chrono::milliseconds longest);

private:
    struct Group {
        std::deque<BatchItem> waiting;
        std::vector<std::string> hosts;
        std::size_t numRunning = 0;  // takes that are not done
        bool isKnown = false;        // one of it is done
    };
    using Groups = std::unordered_map<std::string, Group>;

    bool mayBegin(const Group& group) const;
    std::vector<BatchItem> takeNext(std::size_t most);
    void forgetIdle();

    const std::size_t mostWaiting_, perHost_;
    std::mutex mutex_;
    std::condition_variable canTake_, canPut_, isAllDone_;
    Groups groups_;
    std::deque<Groups::value_type*> turns_;                    // groups with waiting items
    std::unordered_map<std::string, std::size_t> numRunning_;  // by host
    std::size_t numWaiting_ = 0;
    std::size_t sizeWaiting_ = 0;  // in octets
    std::size_t numTaken_ = 0;     // takes that are not done
    bool isClosed_ = false;
};

}  // namespace tallow::cli
