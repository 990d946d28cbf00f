#include "cli/fleet/job_queue.h"

#include <algorithm>
#include <thread>

#include "cli/fleet/job.h"

namespace tallow::cli {

namespace {

using std::chrono::milliseconds;

constexpr const char* kJobs = "tallow:jobs";
constexpr const char* kResults = "tallow:results";
constexpr const char* kDead = "tallow:dead";
constexpr const char* kDone = "tallow:done:";  // and the id of the job: it has its final result
constexpr const char* kRate = "tallow:rate:";  // and the host
constexpr const char* kGroup = "workers";
constexpr const char* kKeepDoneSeconds = "604800";
constexpr const char* kMostDead = "10000";

constexpr const char* kAddScript = R"(
if redis.call('XLEN', KEYS[1]) >= tonumber(ARGV[1]) then return 0 end
for i = 2, #ARGV, 2 do redis.call('XADD', KEYS[1], '*', 'id', ARGV[i], 'job', ARGV[i + 1]) end
return 1)";

// A result is written once; the job is removed in any case.
constexpr const char* kFinishScript = R"(
if redis.call('SET', KEYS[4], '1', 'NX', 'EX', ARGV[6]) then
  redis.call('XADD', KEYS[2], 'MAXLEN', '~', ARGV[5], '*', 'id', ARGV[3], 'result', ARGV[4])
  if ARGV[7] ~= '' then
    redis.call('XADD', KEYS[3], 'MAXLEN', '~', ARGV[8], '*', 'id', ARGV[3], 'job', ARGV[7], 'result', ARGV[4])
  end
end
redis.call('XACK', KEYS[1], ARGV[1], ARGV[2])
redis.call('XDEL', KEYS[1], ARGV[2])
return 1)";

// Tokens of a bucket that fills by the rate, up to those of a second. The server's clock counts for all workers.
constexpr const char* kTurnScript = R"(
local time = redis.call('TIME')
local now = time[1] * 1000 + math.floor(time[2] / 1000)
local rate = tonumber(ARGV[1])
local bucket = redis.call('HMGET', KEYS[1], 'at', 'left')
local passed = math.max(0, now - (tonumber(bucket[1]) or now))
local left = math.min(rate, (tonumber(bucket[2]) or rate) + passed * rate / 1000)
local wait = 0
if left >= 1 then left = left - 1 else wait = math.ceil((1 - left) * 1000 / rate) end
redis.call('HSET', KEYS[1], 'at', now, 'left', tostring(left))
redis.call('PEXPIRE', KEYS[1], 60000)
return wait)";

constexpr const char* kLeaveScript = R"(
if #redis.call('XPENDING', KEYS[1], ARGV[1], '-', '+', 1, ARGV[2]) == 0 then
  redis.call('XGROUP', 'DELCONSUMER', KEYS[1], ARGV[1], ARGV[2])
end
return 1)";

std::string fieldOf(const QueueReply& fields, const char* name) {
    for (std::size_t i = 0; i + 1 < fields.parts.size(); i += 2) {
        if (fields.at(i).text == name) {
            return fields.at(i + 1).text;
        }
    }
    return {};
}

}  // namespace

// After a loss of its data the server has no group; all jobs of the stream are then new.
void JobQueue::makeGroup() {
    static_cast<void>(server_.ask({"XGROUP", "CREATE", kJobs, kGroup, "0", "MKSTREAM"}, givesUp_));
}

std::optional<QueueReply> JobQueue::ask(const QueueServer::Words& words, unsigned waitMs) {
    std::optional<QueueReply> reply = server_.ask(words, givesUp_, waitMs);
    if (reply && reply->kind == CRYPTO_REDIS_ERROR) {
        makeGroup();
        reply = server_.ask(words, givesUp_, waitMs);
    }
    return reply && reply->kind != CRYPTO_REDIS_ERROR ? reply : std::nullopt;
}

bool JobQueue::add(const std::vector<std::pair<std::string, std::string>>& jobs) {
    constexpr milliseconds kPause{500};
    QueueServer::Words words{"EVAL", kAddScript, "1", kJobs, std::to_string(kMostJobs)};
    for (const auto& [id, job] : jobs) {
        words.push_back(id);
        words.push_back(job);
    }
    for (;;) {
        const std::optional<QueueReply> reply = ask(words);
        if (!reply || reply->number == 1) {
            return reply.has_value();
        }
        std::this_thread::sleep_for(kPause);
    }
}

std::vector<TakenJob> JobQueue::jobsIn(const QueueReply& entries) {
    std::vector<TakenJob> jobs;
    for (const QueueReply& entry : entries.parts) {
        TakenJob job{entry.at(0).text, fieldOf(entry.at(1), "id"), fieldOf(entry.at(1), "job")};
        if (!isJobId(job.id)) {
            job.id = job.entry;
        }
        if (!job.entry.empty()) {
            jobs.push_back(std::move(job));
        }
    }
    return jobs;
}

std::vector<TakenJob> JobQueue::take(const std::string& worker, std::size_t most, milliseconds wait) {
    const auto waitMs = static_cast<unsigned>(wait.count());
    const std::optional<QueueReply> reply = ask({"XREADGROUP", "GROUP", kGroup, worker, "COUNT", std::to_string(most),
                                                 "BLOCK", std::to_string(waitMs), "STREAMS", kJobs, ">"},
                                                waitMs);
    return reply ? jobsIn(reply->at(0).at(1)) : std::vector<TakenJob>();
}

std::vector<TakenJob> JobQueue::takeLeft(const std::string& worker, std::size_t most, milliseconds idle, bool& isAll) {
    const std::optional<QueueReply> reply = ask(
        {"XAUTOCLAIM", kJobs, kGroup, worker, std::to_string(idle.count()), nextLeft_, "COUNT", std::to_string(most)});
    nextLeft_ = reply && !reply->at(0).text.empty() ? reply->at(0).text : kStart;
    isAll = nextLeft_ == kStart;
    std::vector<TakenJob> jobs = reply ? jobsIn(reply->at(1)) : std::vector<TakenJob>();
    for (TakenJob& job : jobs) {
        const std::optional<QueueReply> pending = ask({"XPENDING", kJobs, kGroup, job.entry, job.entry, "1"});
        const long long count = pending ? pending->at(0).at(3).number : 0;
        job.attempt = static_cast<unsigned>(std::clamp(count, 2LL, 1000LL));
    }
    return jobs;
}

void JobQueue::hold(const std::string& worker, const std::vector<std::string>& entries) {
    if (!entries.empty()) {
        QueueServer::Words words{"XCLAIM", kJobs, kGroup, worker, "0"};
        words.insert(words.end(), entries.begin(), entries.end());
        words.emplace_back("JUSTID");
        static_cast<void>(ask(words));
    }
}

bool JobQueue::finish(const TakenJob& job, const std::string& result, bool isDead, unsigned keep) {
    const std::string letter = isDead ? job.job.substr(0, kLongestJob) + ' ' : std::string();
    return ask({"EVAL", kFinishScript, "4", kJobs, kResults, kDead, kDone + job.id, kGroup, job.entry, job.id, result,
                std::to_string(keep), kKeepDoneSeconds, letter, kMostDead})
        .has_value();
}

bool JobQueue::isEmpty() {
    const std::optional<QueueReply> reply = ask({"XLEN", kJobs});
    return reply && reply->number == 0;
}

void JobQueue::leave(const std::string& worker) {
    static_cast<void>(ask({"EVAL", kLeaveScript, "1", kJobs, kGroup, worker}));
}

milliseconds JobQueue::claimTurn(const std::string& host, unsigned perSecond) {
    constexpr std::size_t kLongestHost = 270;
    const std::optional<QueueReply> reply =
        ask({"EVAL", kTurnScript, "1", kRate + host.substr(0, kLongestHost), std::to_string(perSecond)});
    return milliseconds(reply ? std::clamp(reply->number, 0LL, 1000LL) : 0);
}

bool JobQueue::results(bool dead, const std::string& after, std::size_t most,
                       std::vector<std::pair<std::string, std::string>>& found) {
    found.clear();
    const std::optional<QueueReply> reply = ask(
        {"XRANGE", dead ? kDead : kResults, after == "-" ? after : '(' + after, "+", "COUNT", std::to_string(most)});
    if (reply) {
        for (const QueueReply& entry : reply->parts) {
            found.emplace_back(entry.at(0).text, fieldOf(entry.at(1), "result"));
        }
    }
    return reply.has_value();
}

void JobQueue::remove(const std::vector<std::string>& entries) {
    QueueServer::Words words{"XDEL", kResults};
    words.insert(words.end(), entries.begin(), entries.end());
    static_cast<void>(ask(words));
}

}  // namespace tallow::cli
