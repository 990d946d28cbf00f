#include "cli/fleet/job_queue.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iostream>
#include <system_error>
#include <utility>

#include "cli/fingerprint.h"
#include "cli/fleet/job.h"
#include "cli/fleet/result_line.h"

namespace tallow::cli {

namespace {

using std::chrono::milliseconds;

constexpr const char* kJobs = "tallow:jobs";
constexpr const char* kResults = "tallow:results";
constexpr const char* kDead = "tallow:dead";
constexpr const char* kTries = "tallow:tries";   // by entry: how many attempts failed
constexpr const char* kOpen = "tallow:open";     // by run: how many jobs have no result so far
constexpr const char* kDone = "tallow:done:";    // and the id of the job: it has its final result
constexpr const char* kRate = "tallow:rate:";    // and the host
constexpr const char* kAlive = "tallow:alive:";  // and the worker: it is there
constexpr const char* kGroup = "workers";
constexpr const char* kWaiting = "+waiting";  // the consumer of jobs that wait for their next attempt; no worker's name
constexpr const char* kKeepDoneSeconds = "604800";
constexpr const char* kMostDead = "10000";
constexpr const char* kLongestIdleMs = "3600000";  // of a worker without jobs, which is forgotten then
constexpr const char* kAtOnceMs = "86400000";      // a job that was idle for so long is free for every worker
constexpr long long kLatestMs = 1LL << 50;         // of a server's clock
constexpr std::size_t kMostLookedAt = 200;

// Bounds of replies, in octets of the protocol. An entry has some octets besides its text: its id, that of the job, the
// names of fields, lengths.
constexpr std::size_t kAroundText = 512;
constexpr std::size_t kMostTaken = 16;          // jobs in a reply
constexpr std::size_t kMostShown = 16;          // results in a reply
constexpr std::size_t kLargestPage = 4U << 20;  // after which a reply has no more results

QueueServer::Bounds boundsOfJobs(std::size_t most, unsigned waitMs) {
    return {most * (kLongestJob + kAroundText) + kAroundText, waitMs, true};
}

// A server that is out of memory refuses commands that may need more, except in a script that has written before. The
// scripts that free memory in the end, or must not stop the workers, therefore begin with a write that needs none.
// Errors are passed on with pcall, so that their code stays in front in all versions of the server.

constexpr const char* kGroupScript = R"(
redis.call('HDEL', KEYS[2], '-')
return redis.pcall('XGROUP', 'CREATE', KEYS[1], ARGV[1], '0', 'MKSTREAM'))";

// Counts of runs begin anew with an empty queue, so that a mistake in them does not stay. They are written last: after
// a command that removes something, a server without memory would not refuse the jobs.
constexpr const char* kAddScript = R"(
local waiting = redis.call('XLEN', KEYS[1])
if waiting >= tonumber(ARGV[1]) then return -1 end
local open = redis.pcall('HGET', KEYS[2], ARGV[3])
if type(open) == 'table' and not (waiting == 0 and string.find(open.err, 'WRONGTYPE', 1, true)) then return open end
local added = 0
for i = 4, #ARGV, 2 do
  if redis.call('EXISTS', ARGV[2] .. ARGV[i]) == 0 then
    redis.call('XADD', KEYS[1], '*', 'id', ARGV[i], 'job', ARGV[i + 1])
    added = added + 1
  end
end
if added > 0 then
  if waiting == 0 then
    redis.pcall('DEL', KEYS[2])
    open = 0
  end
  redis.pcall('HSET', KEYS[2], ARGV[3], added + (tonumber(open or 0) or 0))
end
return added)";

// Takes over jobs that were not held for some time. That of a worker which is no longer there has failed once more; one
// whose worker is there was handed back, or its delivery was lost on the way. Forgets workers that ended.
//
// A clock that is set forward makes all jobs old and all workers absent at once: nothing is taken over before they
// could say that they are there. One that is set back would make jobs wait until it is as late as before: they seem to
// be given away just now, and are given to their owner once more, by the clock as it is.
constexpr const char* kTakeLeftScript = R"(
local group, worker, idle, most, look = ARGV[1], ARGV[2], tonumber(ARGV[3]), tonumber(ARGV[5]), tonumber(ARGV[6])
local time = redis.call('TIME')
local now = time[1] * 1000 + math.floor(time[2] / 1000)
if now - tonumber(ARGV[12]) >= idle / 2 then return {'', {}, now, 1} end
local pending = redis.pcall('XPENDING', KEYS[1], group, ARGV[4], '+', look)
if pending.err then return pending end
local function isAlive(name)
  return name == ARGV[7] or redis.call('EXISTS', ARGV[10] .. name) == 1
end
for _, row in ipairs(redis.call('XINFO', 'CONSUMERS', KEYS[1], group)) do
  local consumer = {}
  for i = 1, #row, 2 do consumer[row[i]] = row[i + 1] end
  if consumer.pending == 0 and consumer.idle >= tonumber(ARGV[8]) and not isAlive(consumer.name) then
    redis.call('XGROUP', 'DELCONSUMER', KEYS[1], group, consumer.name)
  end
end
local jobs, next, size = {}, '', 0
for _, row in ipairs(pending) do
  if #jobs == most or size > tonumber(ARGV[13]) then break end
  next = '(' .. row[1]
  if row[3] == 0 then
    redis.call('XCLAIM', KEYS[1], group, row[2], 0, row[1], 'JUSTID')
  elseif row[3] >= idle then
    local claimed = redis.call('XCLAIM', KEYS[1], group, worker, 0, row[1])[1]
    if claimed then
      local tries = tonumber(redis.call('HGET', KEYS[2], row[1]) or 0) or 0
      if not isAlive(row[2]) then
        tries = tries + 1
        redis.call('HSET', KEYS[2], row[1], tries)
      end
      local fields = {id = '', job = ''}
      for i = 1, #claimed[2], 2 do
        fields[claimed[2][i]] = claimed[2][i + 1]
        size = size + #claimed[2][i + 1]
      end
      local id, job = string.sub(fields.id, 1, tonumber(ARGV[11])), string.sub(fields.job, 1, tonumber(ARGV[9]))
      table.insert(jobs, {row[1], id, job, tries})
    else
      redis.call('XACK', KEYS[1], group, row[1])
    end
  end
end
if #pending == 0 or (#pending < look and next == '(' .. pending[#pending][1]) then next = '' end
return {next, jobs, now, 0})";

// Only what the worker still has: another one may have taken it over.
constexpr const char* kHoldScript = R"(
if redis.call('PEXPIRE', KEYS[2], ARGV[3]) == 0 then redis.call('SET', KEYS[2], '1', 'PX', ARGV[3]) end
for i = 4, #ARGV do
  local row = redis.pcall('XPENDING', KEYS[1], ARGV[1], ARGV[i], ARGV[i], 1)
  if row.err then return row end
  if row[1] and row[1][2] == ARGV[2] then
    redis.call('XCLAIM', KEYS[1], ARGV[1], ARGV[2], 0, ARGV[i], 'JUSTID')
  end
end
return tonumber(redis.call('TIME')[1]))";

constexpr const char* kHandBackScript = R"(
for i = 5, #ARGV, 2 do
  local row = redis.pcall('XPENDING', KEYS[1], ARGV[1], ARGV[i], ARGV[i], 1)
  if row.err then return row end
  if row[1] and row[1][2] == ARGV[2] then
    redis.call('XCLAIM', KEYS[1], ARGV[1], ARGV[3], 0, ARGV[i], 'IDLE', ARGV[4], 'JUSTID')
    if tonumber(ARGV[i + 1]) > 0 then redis.call('HSET', KEYS[2], ARGV[i], ARGV[i + 1]) end
  end
end
return 1)";

// A result is written once; the job is removed in any case. That all attempts failed is only for the worker to say that
// has the job: another one may still succeed.
constexpr const char* kFinishScript = R"(
if ARGV[7] ~= '' then
  local row = redis.pcall('XPENDING', KEYS[1], ARGV[1], ARGV[2], ARGV[2], 1)
  if row.err then return row end
  if not row[1] or row[1][2] ~= ARGV[9] then return 0 end
end
redis.call('HDEL', KEYS[5], ARGV[2])
if redis.call('SET', KEYS[4], '1', 'NX', 'EX', ARGV[6]) then
  redis.call('XADD', KEYS[2], 'MAXLEN', '~', ARGV[5], '*', 'id', ARGV[3], 'result', ARGV[4])
  if ARGV[7] ~= '' then
    redis.call('XADD', KEYS[3], 'MAXLEN', '~', ARGV[8], '*', 'id', ARGV[3], 'job', ARGV[7], 'result', ARGV[4])
  end
end
redis.call('XACK', KEYS[1], ARGV[1], ARGV[2])
if redis.call('XDEL', KEYS[1], ARGV[2]) == 1 then
  local open = tonumber(redis.call('HGET', KEYS[6], ARGV[10]) or 0) or 0
  if open > 1 then redis.call('HSET', KEYS[6], ARGV[10], open - 1) else redis.call('HDEL', KEYS[6], ARGV[10]) end
end
return 1)";

constexpr const char* kNumJobsScript = R"(
local open = tonumber(redis.call('HGET', KEYS[2], ARGV[1]) or 0) or 0
return math.min(open, redis.call('XLEN', KEYS[1])))";

// Only what is printed, and of a text that is too long only its length: anything may be in these streams. One at a
// time, so that the server itself holds no more than one that is too long.
constexpr const char* kResultsScript = R"(
local found, size, after = {}, 0, ARGV[1]
while #found < tonumber(ARGV[2]) and size < tonumber(ARGV[4]) do
  local rows = redis.pcall('XRANGE', KEYS[1], after, '+', 'COUNT', 1)
  if rows.err then return rows end
  local row = rows[1]
  if not row then break end
  after = '(' .. row[1]
  local fields = {id = '', result = ''}
  for i = 1, #row[2], 2 do
    fields[row[2][i]] = row[2][i + 1]
    size = size + #row[2][i + 1]
  end
  local text = #fields.result > tonumber(ARGV[3]) and '' or fields.result
  table.insert(found, {row[1], string.sub(fields.id, 1, tonumber(ARGV[5])), text, #fields.result})
end
return found)";

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
redis.call('PEXPIRE', KEYS[1], 60000)
redis.call('HSET', KEYS[1], 'at', now, 'left', tostring(left))
redis.call('PEXPIRE', KEYS[1], 60000)
return wait)";

constexpr const char* kLeaveScript = R"(
local pending = redis.pcall('XPENDING', KEYS[1], ARGV[1], '-', '+', 1, ARGV[2])
if pending.err then return pending end
redis.call('DEL', KEYS[2])
if #pending == 0 then redis.call('XGROUP', 'DELCONSUMER', KEYS[1], ARGV[1], ARGV[2]) end
return 1)";

// The two numbers of an entry's name; nothing when it is no such name.
std::optional<std::pair<std::uint64_t, std::uint64_t>> placeOf(const std::string& entry) {
    std::pair<std::uint64_t, std::uint64_t> place;
    const char* const end = entry.data() + entry.size();
    const auto [hyphen, mistake] = std::from_chars(entry.data(), end, place.first);
    if (mistake != std::errc() || hyphen == end || *hyphen != '-') {
        return std::nullopt;
    }
    const auto [rest, second] = std::from_chars(hyphen + 1, end, place.second);
    return second == std::errc() && rest == end ? std::optional(place) : std::nullopt;
}

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
    static_cast<void>(server_.ask({"EVAL", kGroupScript, "2", kJobs, kTries, kGroup}, givesUp_, {}));
}

std::optional<QueueReply> JobQueue::ask(const QueueServer::Words& words, const QueueServer::Bounds& bounds) {
    std::optional<QueueReply> reply = server_.ask(words, givesUp_, bounds);
    if (reply && reply->kind == CRYPTO_REDIS_ERROR) {
        makeGroup();
        reply = server_.ask(words, givesUp_, bounds);
    }
    return reply && reply->kind != CRYPTO_REDIS_ERROR ? reply : std::nullopt;
}

std::optional<long long> JobQueue::askNumber(const QueueServer::Words& words) {
    const std::optional<QueueReply> reply = ask(words, {});
    return reply && reply->kind == CRYPTO_REDIS_INTEGER ? std::optional(reply->number) : std::nullopt;
}

std::optional<long long> JobQueue::askNumberOnce(const QueueServer::Words& words) {
    const std::optional<QueueReply> reply = server_.ask(words, [](milliseconds /*lost*/) { return true; }, {});
    return reply && reply->kind == CRYPTO_REDIS_INTEGER ? std::optional(reply->number) : std::nullopt;
}

JobQueue::Added JobQueue::add(const std::vector<std::pair<std::string, std::string>>& jobs) {
    const std::string run = jobs.empty() ? std::string() : runOf(jobs.front().first);
    QueueServer::Words words{"EVAL", kAddScript, "2", kJobs, kOpen, std::to_string(kMostJobs), kDone, run};
    for (const auto& [id, job] : jobs) {
        Fingerprint digest;
        digest.add(job);
        words.push_back(id + '.' + digest.text());
        words.push_back(job);
    }
    const std::optional<long long> added = askNumber(words);
    if (!added || *added < 0) {
        return {added ? Added::Kind::kFull : Added::Kind::kLost, 0};
    }
    return {Added::Kind::kAdded, std::min<std::size_t>(static_cast<std::size_t>(*added), jobs.size())};
}

// What the server sent is not trusted.
std::optional<TakenJob> JobQueue::jobFrom(std::string entry, std::string id, std::string job) {
    if (entry.empty()) {
        return std::nullopt;
    }
    TakenJob taken{std::move(entry), std::move(id), std::move(job)};
    if (!isJobId(taken.id)) {
        taken.id = isJobId(taken.entry) ? taken.entry : "unknown";
    }
    return taken;
}

std::vector<TakenJob> JobQueue::take(const std::string& worker, std::size_t most, milliseconds wait) {
    const auto waitMs = static_cast<unsigned>(wait.count());
    const std::size_t count = std::min(most, kMostTaken);
    // Jobs of a reply that is too large are left: takeLeft gets them later, and shortens those that are too long.
    const std::optional<QueueReply> reply = ask({"XREADGROUP", "GROUP", kGroup, worker, "COUNT", std::to_string(count),
                                                 "BLOCK", std::to_string(waitMs), "STREAMS", kJobs, ">"},
                                                boundsOfJobs(count, waitMs));
    if (reply && reply->isTooLarge && !std::exchange(isTooLargeReported_, true)) {
        std::cerr << "tallow: the queue holds jobs that are longer than a job may be; each becomes a failed result\n";
    }
    std::vector<TakenJob> jobs;
    for (std::size_t i = 0; reply && i < reply->at(0).at(1).parts.size(); ++i) {
        const QueueReply& entry = reply->at(0).at(1).at(i);
        if (std::optional<TakenJob> job =
                jobFrom(entry.at(0).text, fieldOf(entry.at(1), "id"), fieldOf(entry.at(1), "job"))) {
            jobs.push_back(std::move(*job));
        }
    }
    return jobs;
}

std::vector<TakenJob> JobQueue::takeLeft(const std::string& worker, std::size_t most, milliseconds idle, bool& isAll) {
    const std::size_t count = std::min(most, kMostTaken);
    const auto sinceLooked = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - lookedAt_);
    // What the server's clock shows by now, if nothing has set it.
    const long long serverMs = lookedAtServerMs_ == 0 ? kLatestMs : lookedAtServerMs_ + sinceLooked.count();
    const std::optional<QueueReply> reply =
        ask({"EVAL", kTakeLeftScript, "2", kJobs, kTries, kGroup, worker, std::to_string(idle.count()), nextLeft_,
             std::to_string(count), std::to_string(kMostLookedAt), kWaiting, kLongestIdleMs,
             std::to_string(kLongestJob + 1), kAlive, std::to_string(kLongestJobId + 1), std::to_string(serverMs),
             std::to_string(kMostTaken * kLongestJob)},
            boundsOfJobs(count, 0));
    lookedAt_ = std::chrono::steady_clock::now();
    lookedAtServerMs_ = reply ? std::clamp(reply->at(2).number, 0LL, kLatestMs) : 0;
    if (reply && reply->at(3).number != 0) {
        setAt_ = lookedAt_;
    }
    nextLeft_ = reply && !reply->at(0).text.empty() ? reply->at(0).text : kStart;
    isAll = nextLeft_ == kStart;
    std::vector<TakenJob> jobs;
    for (std::size_t i = 0; reply && i < reply->at(1).parts.size(); ++i) {
        const QueueReply& row = reply->at(1).at(i);
        if (std::optional<TakenJob> job = jobFrom(row.at(0).text, row.at(1).text, row.at(2).text)) {
            job->numFailed = static_cast<unsigned>(std::clamp(row.at(3).number, 0LL, 1000LL));
            jobs.push_back(std::move(*job));
        }
    }
    return jobs;
}

std::optional<std::chrono::sys_seconds> JobQueue::hold(const std::string& worker,
                                                       const std::vector<std::string>& entries, milliseconds idle) {
    QueueServer::Words words{"EVAL",          kHoldScript, "2",    kJobs,
                             kAlive + worker, kGroup,      worker, std::to_string(idle.count())};
    words.insert(words.end(), entries.begin(), entries.end());
    const std::optional<long long> now = askNumberOnce(words);
    return now ? std::optional(std::chrono::sys_seconds(std::chrono::seconds(std::clamp(*now, 0LL, kLatestMs / 1000))))
               : std::nullopt;
}

bool JobQueue::handBack(const std::string& worker, const std::vector<TakenJob>& jobs, bool isFailed) {
    QueueServer::Words words{"EVAL",   kHandBackScript,           "2", kJobs, kTries, kGroup, worker,
                             kWaiting, isFailed ? "0" : kAtOnceMs};
    for (const TakenJob& job : jobs) {
        words.push_back(job.entry);
        words.push_back(std::to_string(job.numFailed + (isFailed ? 1 : 0)));
    }
    return jobs.empty() || (isFailed ? askNumber(words) : askNumberOnce(words)).has_value();
}

bool JobQueue::finish(const std::string& worker, const TakenJob& job, const std::string& result, bool isDead,
                      unsigned keep) {
    const std::string letter = isDead ? job.job.substr(0, kLongestJob) + ' ' : std::string();
    return askNumber({"EVAL", kFinishScript, "6", kJobs, kResults, kDead, kDone + job.id, kTries, kOpen, kGroup,
                      job.entry, job.id, result, std::to_string(keep), kKeepDoneSeconds, letter, kMostDead, worker,
                      runOf(job.id)})
        .has_value();
}

std::optional<std::size_t> JobQueue::numJobs(const std::string& run) {
    const std::optional<long long> number =
        askNumber(run.empty() ? QueueServer::Words{"XLEN", kJobs}
                              : QueueServer::Words{"EVAL", kNumJobsScript, "2", kJobs, kOpen, run});
    return number ? std::optional(static_cast<std::size_t>(std::max(0LL, *number))) : std::nullopt;
}

void JobQueue::leave(const std::string& worker) {
    static_cast<void>(askNumberOnce({"EVAL", kLeaveScript, "2", kJobs, kAlive + worker, kGroup, worker}));
}

milliseconds JobQueue::claimTurn(const std::string& host, unsigned perSecond) {
    constexpr std::size_t kLongestHost = 270;
    const std::optional<long long> wait =
        askNumber({"EVAL", kTurnScript, "1", kRate + host.substr(0, kLongestHost), std::to_string(perSecond)});
    return milliseconds(std::clamp(wait.value_or(0), 0LL, 1000LL));
}

const char* JobQueue::nameOfResults(bool dead) {
    return dead ? kDead : kResults;
}

bool JobQueue::results(bool dead, const std::string& after, std::vector<QueuedResult>& found) {
    found.clear();
    const std::optional<QueueReply> reply =
        ask({"EVAL", kResultsScript, "1", nameOfResults(dead), after == kStart ? after : '(' + after,
             std::to_string(kMostShown), std::to_string(kLongestResult), std::to_string(kLargestPage),
             std::to_string(kLongestJobId + 1)},
            {kLargestPage + kLongestResult + kMostShown * kAroundText});
    if (!reply || reply->kind != CRYPTO_REDIS_ARRAY) {
        return false;
    }
    auto last = placeOf(after);
    for (const QueueReply& row : reply->parts) {
        // In ascending order, so that there is an end and nothing comes twice.
        const auto place = placeOf(row.at(0).text);
        if (!place || (last && *place <= *last)) {
            return false;
        }
        last = place;
        const std::string& job = row.at(1).text;
        found.push_back({row.at(0).text, isJobId(job) ? job : "", row.at(2).text,
                         static_cast<std::size_t>(std::max(0LL, row.at(3).number))});
    }
    return true;
}

bool JobQueue::remove(const std::vector<std::string>& entries) {
    QueueServer::Words words{"XDEL", kResults};
    words.insert(words.end(), entries.begin(), entries.end());
    return askNumber(words).has_value();
}

}  // namespace tallow::cli
