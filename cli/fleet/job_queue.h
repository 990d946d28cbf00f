// The queue of a fleet on its server: jobs, their final results, and jobs that failed too often.
//
// Jobs are a stream with one consumer group. A job stays in it, pending, until its final result is written; one that a
// worker took and no longer holds is given to another. The result of a job is written only once, by its id, so that it
// does no harm if two workers check it. Everything that several commands would do is a script, which the server runs as
// a whole.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/fleet/queue_server.h"

namespace tallow::cli {

/// An entry among the results or the dead letters.
struct QueuedResult {
    std::string entry;         // in the stream
    std::string job;           // its id, if the entry names one
    std::string text;          // anything
    std::size_t sizeText = 0;  // in octets; when it is more than a result may have, `text` is empty
};

/// A job as a worker got it.
struct TakenJob {
    std::string entry;       // in the stream
    std::string id;          // of the job; that of the entry when it has none
    std::string job;         // as in job.h, or anything
    unsigned numFailed = 0;  // attempts before this one: failed checks, and workers that ended
};

class JobQueue {
public:
    /// The most jobs that wait; more are added when some are done.
    static constexpr std::size_t kMostJobs = 100000;
    static constexpr unsigned kMostAttempts = 3;
    static constexpr const char* kStart = "-";

    JobQueue(const QueueOptions& options, QueueServer::Patience givesUp)
        : server_(options), givesUp_(std::move(givesUp)) {}

    /// What became of jobs that were to be added.
    struct Added {
        enum class Kind { kAdded, kFull, kLost };
        Kind kind = Kind::kLost;
        std::size_t count = 0;  // without those that have their result already
    };
    /// Adds jobs in one step: all of them, or none while there is no room or no server. They are pairs of the beginning
    /// of the id and the text. A digest of the text is appended to the id, so that the result of another certificate
    /// does not count that had the same place in another list.
    [[nodiscard]] Added add(const std::vector<std::pair<std::string, std::string>>& jobs);

    /// Up to `most` new jobs for this worker; waits a moment for them.
    std::vector<TakenJob> take(const std::string& worker, std::size_t most, std::chrono::milliseconds wait);
    /// The same for jobs that another worker, or this one, left for `idle`. Looks at a part of the jobs that were
    /// begun, and at the next one when it is called again; `isAll` after the last part. On one thread, like
    /// answeringSince.
    std::vector<TakenJob> takeLeft(const std::string& worker, std::size_t most, std::chrono::milliseconds idle,
                                   bool& isAll);
    /// Tells the server that this worker is there, for the next `idle`, and still has these entries. The time at the
    /// server. Tries once, on any thread.
    std::optional<std::chrono::sys_seconds> hold(const std::string& worker, const std::vector<std::string>& entries,
                                                 std::chrono::milliseconds idle);
    /// Gives jobs back: after a failed check for the next attempt, else at once, and then it tries only once. False
    /// when it gave up.
    [[nodiscard]] bool handBack(const std::string& worker, const std::vector<TakenJob>& jobs, bool isFailed);
    /// Writes the final result, unless the job has one, and removes the job; `isDead` also notes it in the stream of
    /// dead letters, and does nothing if another worker has the job now. False when it gave up: the job stays.
    [[nodiscard]] bool finish(const std::string& worker, const TakenJob& job, const std::string& result, bool isDead,
                              unsigned keep);
    /// Since when the server has answered without interruption, and its clock has not been set forward.
    std::chrono::steady_clock::time_point answeringSince() { return std::max(server_.answeringSince(), setAt_); }
    /// How many jobs wait or are being checked, of this run or (empty) of all; nothing when it gave up.
    std::optional<std::size_t> numJobs(const std::string& run = "");
    /// Takes the worker off the list, if it has no job. Tries once.
    void leave(const std::string& worker);

    /// How long to wait before one more check may ask this host; 0: it may now, and counts.
    std::chrono::milliseconds claimTurn(const std::string& host, unsigned perSecond);

    /// Some results after the entry `after` (kStart: all), in ascending order; none at the end. False when it gave up,
    /// or the server sent something else.
    [[nodiscard]] bool results(bool dead, const std::string& after, std::vector<QueuedResult>& found);
    /// The stream that they are in, for messages.
    static const char* nameOfResults(bool dead);
    /// Removes results. False when it gave up.
    [[nodiscard]] bool remove(const std::vector<std::string>& entries);

private:
    std::optional<QueueReply> ask(const QueueServer::Words& words, const QueueServer::Bounds& bounds);
    // The same for a command that the server answers with a number: no other answer is one.
    std::optional<long long> askNumber(const QueueServer::Words& words);
    std::optional<long long> askNumberOnce(const QueueServer::Words& words);
    void makeGroup();
    static std::optional<TakenJob> jobFrom(std::string entry, std::string id, std::string job);

    QueueServer server_;
    const QueueServer::Patience givesUp_;
    bool isTooLargeReported_ = false;
    std::string nextLeft_ = kStart;  // where takeLeft goes on
    // When takeLeft was last answered, here and by the server's clock in ms (0: never), and when that was set forward.
    std::chrono::steady_clock::time_point lookedAt_{};
    long long lookedAtServerMs_ = 0;
    std::chrono::steady_clock::time_point setAt_{};
};

}  // namespace tallow::cli
