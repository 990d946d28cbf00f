// The queue of a fleet on its server: jobs, their final results, and jobs that failed too often.
//
// Jobs are a stream with one consumer group. A job stays in it, pending, until its final result is written; one that a
// worker took and did not finish in time is given to another. The result of a job is written only once, by its id, so
// that it does no harm if two workers check it. Everything that several commands would do is a script, which the server
// runs as a whole.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "cli/fleet/queue_server.h"

namespace tallow::cli {

/// A job as a worker got it.
struct TakenJob {
    std::string entry;     // in the stream
    std::string id;        // of the job; that of the entry when it has none
    std::string job;       // as in job.h, or anything
    unsigned attempt = 1;  // from 1
};

class JobQueue {
public:
    /// The most jobs that wait; more are added when some are done.
    static constexpr std::size_t kMostJobs = 100000;
    static constexpr unsigned kMostAttempts = 3;
    static constexpr const char* kStart = "0-0";

    JobQueue(const QueueOptions& options, QueueServer::Patience givesUp)
        : server_(options), givesUp_(std::move(givesUp)) {}

    /// Adds jobs, pairs of id and text, in one step; waits while there is no room. False when it gave up.
    [[nodiscard]] bool add(const std::vector<std::pair<std::string, std::string>>& jobs);

    /// Up to `most` new jobs for this worker; waits a moment for them.
    std::vector<TakenJob> take(const std::string& worker, std::size_t most, std::chrono::milliseconds wait);
    /// The same for jobs that another worker, or this one, left for `idle`. Looks at a part of the jobs that were
    /// begun, and at the next one when it is called again; `isAll` after the last part. On one thread at a time.
    std::vector<TakenJob> takeLeft(const std::string& worker, std::size_t most, std::chrono::milliseconds idle,
                                   bool& isAll);
    /// Tells the server that this worker still has these entries.
    void hold(const std::string& worker, const std::vector<std::string>& entries);
    /// Writes the final result, unless the job has one, and removes the job; `isDead` also notes it in the stream of
    /// dead letters. False when it gave up: the job stays.
    [[nodiscard]] bool finish(const TakenJob& job, const std::string& result, bool isDead, unsigned keep);
    /// Whether no job waits or is being checked.
    bool isEmpty();
    /// Takes the worker off the list, if it has no job.
    void leave(const std::string& worker);

    /// How long to wait before one more check may ask this host; 0: it may now, and counts.
    std::chrono::milliseconds claimTurn(const std::string& host, unsigned perSecond);

    /// Up to `most` results after the entry `after` ("-": from the start): entry and text. False when it gave up.
    [[nodiscard]] bool results(bool dead, const std::string& after, std::size_t most,
                               std::vector<std::pair<std::string, std::string>>& found);
    void remove(const std::vector<std::string>& entries);

private:
    std::optional<QueueReply> ask(const QueueServer::Words& words, unsigned waitMs = 0);
    void makeGroup();
    std::vector<TakenJob> jobsIn(const QueueReply& entries);

    QueueServer server_;
    const QueueServer::Patience givesUp_;
    std::string nextLeft_ = kStart;  // where takeLeft goes on
};

}  // namespace tallow::cli
