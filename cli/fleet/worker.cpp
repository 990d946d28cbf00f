#include "cli/fleet/worker.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <ctime>
#include <exception>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <stop_token>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "checker/text/safe_text.h"
#include "cli/batch/batch_totals.h"
#include "cli/batch/checkers.h"
#include "cli/batch/flat_object.h"
#include "cli/batch/work_queue.h"
#include "cli/check.h"
#include "cli/check_result_of.h"
#include "cli/error_text.h"
#include "cli/fleet/job.h"
#include "cli/fleet/job_queue.h"
#include "cli/fleet/result_line.h"
#include "cli/input_files.h"
#include "cli/open_files.h"
#include "cli/output.h"

namespace tallow::cli {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kTick{200};
constexpr std::size_t kHeldForJob = 2;  // so that the next one is there when a check ends
constexpr unsigned kFilesOfJob = 5;     // a connection with its descriptors for events, a file of the cache, the queue
constexpr std::chrono::seconds kLongestEnd{20};  // for results, when the server is lost after a signal

constexpr Clock::rep kNotAsked = -1;
std::atomic<Clock::rep> askedAt{kNotAsked};  // when a signal told it to end
static_assert(std::atomic<Clock::rep>::is_always_lock_free);

extern "C" void stopLater(int /*signal*/) {
    Clock::rep none = kNotAsked;
    askedAt.compare_exchange_strong(none, Clock::now().time_since_epoch().count());
}

bool isAskedToStop() {
    return askedAt.load() != kNotAsked;
}

void stopOnSignals() {
    for (const int signal : {SIGTERM, SIGINT}) {
        struct sigaction action {};
        action.sa_handler = stopLater;
        ::sigaction(signal, &action, nullptr);
    }
}

std::string defaultName() {
    std::array<char, 256> host{};
    if (::gethostname(host.data(), host.size() - 1) != 0) {
        host = {'h', 'o', 's', 't'};
    }
    const std::string name = std::string(host.data()) + '-' + std::to_string(::getpid());
    return isJobId(name) ? name : "worker-" + std::to_string(::getpid());
}

// A worker that is started again under the same name is another one: that its jobs ended with it must be seen.
std::string consumerOf(const std::string& name) {
    std::random_device random;
    return name + '/' + std::to_string(random());
}

std::string presentTime() {
    const std::time_t now = std::time(nullptr);
    std::tm fields{};
    ::gmtime_r(&now, &fields);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &fields)};
}

class Worker {
public:
    explicit Worker(const WorkerOptions& options)
        : options_(options),
          name_(options.name.empty() ? defaultName() : options.name),
          consumer_(consumerOf(name_)),
          inputs_(options),
          network_(options),
          checkers_(inputs_, optionsOf(options, inputs_, network_)),
          ready_(kHeldForJob * options.batch.jobs, options.batch.perHost),
          queue_(options.queue, [this](milliseconds /*lost*/) { return givesUp(); }) {
        if (!isJobId(name_)) {
            throw InputError("--name",
                             "cannot be the name of a worker; give 1 to 192 letters, digits, dots, hyphens and "
                             "underscores");
        }
    }

    Outcome run() {
        {
            std::jthread holder;  // ends after the others
            std::vector<std::jthread> threads;
            try {
                startThreads(threads, holder);
                while (!isAskedToStop() && !isFailed_ &&
                       !(options_.untilEmpty && numHeld() == 0 && queue_.numJobs() == std::size_t{0})) {
                    takeJobs();
                }
                isEnding_ = true;
            } catch (...) {
                fail(std::current_exception());
            }
            ready_.stop();
        }
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        giveBackRest();
        queue_.leave(consumer_);
        Outcome outcome{"", "", numLost_ == 0 ? kExitGood : kExitNoAnswer};
        if (numLost_ != 0) {
            outcome.err = "tallow: " + groupedNumber(numLost_) +
                          " results could not be written; their jobs are still in the queue\n";
        }
        return outcome;
    }

private:
    // Signals are for the main thread.
    void startThreads(std::vector<std::jthread>& threads, std::jthread& holder) {
        std::string note;
        const unsigned numJobs = jobsWithinOpenFiles(options_.batch.jobs, kFilesOfJob, note);
        std::cerr << note;
        mostHeld_ = kHeldForJob * numJobs;
        sigset_t all;
        sigset_t before;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before);
        try {
            holder = std::jthread([this](const std::stop_token& end) { hold(end); });
            for (unsigned i = 0; i < numJobs; ++i) {
                threads.emplace_back([this] { work(); });
            }
        } catch (const std::system_error&) {
            if (threads.empty()) {
                throw InputError("--jobs", "no thread can be started; raise the limit of processes");
            }
            mostHeld_ = kHeldForJob * threads.size();  // those that run do the work
        }
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    // A worker without a server waits for it. One that was told to end takes no more jobs, and waits only for a while
    // to write its results.
    bool givesUp() const {
        if (!isAskedToStop()) {
            return isFailed_;
        }
        const bool isTaking = std::this_thread::get_id() == mainThread_ && !isEnding_;
        return isTaking || isFailed_ || Clock::now() >= Clock::time_point(Clock::duration(askedAt)) + kLongestEnd;
    }

    // What ends the worker, such as exhausted memory. The jobs stay in the queue.
    void fail(std::exception_ptr failure) {
        {
            const std::scoped_lock lock(mutex_);
            failure_ = failure_ ? failure_ : std::move(failure);
        }
        isFailed_ = true;
        ready_.stop();
    }

    std::size_t numHeld() {
        const std::scoped_lock lock(mutex_);
        return held_.size();
    }

    void takeJobs() {
        const std::size_t room = mostHeld_ - std::min(mostHeld_, numHeld());
        if (room == 0) {
            std::this_thread::sleep_for(milliseconds(20));
            return;
        }
        std::vector<TakenJob> jobs;
        bool isAll = true;
        if (const Clock::time_point now = Clock::now(); now >= nextLeft_ && mayTakeOver(now)) {
            jobs = queue_.takeLeft(consumer_, room, options_.claimAfter, isAll);
            nextLeft_ = isAll ? now + options_.claimAfter / 4 : now;
        }
        if (jobs.empty()) {
            const milliseconds wait = isAll ? kTick : milliseconds(1);
            const Clock::time_point end = Clock::now() + wait;
            jobs = queue_.take(consumer_, room, wait);
            if (jobs.empty()) {
                std::this_thread::sleep_until(end);  // whatever the server does
            }
        }
        for (TakenJob& job : jobs) {
            begin(std::move(job));
        }
    }

    // While the server was away, the others could not say that they have their jobs: they say it first.
    bool mayTakeOver(Clock::time_point now) { return now - queue_.answeringSince() >= options_.claimAfter / 2; }

    void begin(TakenJob job) {
        BatchItem item;
        if (job.numFailed >= JobQueue::kMostAttempts) {
            end(job, errorOf(job, {status::kFail, "checking: 3 attempts failed, and in the last one a worker ended"}),
                true, presentTime());
            return;
        }
        try {
            item = itemOf(job.id, job.job, options_.url);
        } catch (const InputError& mistake) {
            end(job, errorOf(job, {mistake.code(), mistake.what()}), false, presentTime());
            return;
        }
        {
            const std::scoped_lock lock(mutex_);
            if (!held_.try_emplace(job.entry, job).second) {
                return;  // it is being checked here: the server was asked too late to hold it
            }
            entries_.emplace(++lastNumber_, job.entry);
            item.number = lastNumber_;
        }
        while (!ready_.put(item, kTick)) {
            if (isAskedToStop() || isFailed_) {
                return;  // it is given back
            }
        }
    }

    // Tells the server that the jobs are being worked on, so that no other worker gets them. On a thread of its own,
    // which nothing else keeps waiting.
    void hold(const std::stop_token& end) {
        try {
            std::unique_lock lock(mutex_);
            while (!end.stop_requested()) {
                std::vector<std::string> entries;
                for (const auto& [entry, job] : held_) {
                    entries.push_back(entry);
                }
                lock.unlock();
                compareClocks(queue_.hold(consumer_, entries, options_.claimAfter));
                lock.lock();
                holderWakes_.wait_for(lock, end, milliseconds(options_.claimAfter) / 4, [] { return false; });
            }
        } catch (...) {
            fail(std::current_exception());
        }
    }

    // Verdicts depend on the clock: where it is wrong, all attempts of many jobs would fail here.
    void compareClocks(std::optional<std::chrono::sys_seconds> serverTime) {
        constexpr std::chrono::seconds kMost{60};
        if (!serverTime) {
            return;
        }
        const auto ahead = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - *serverTime;
        const bool differ = std::chrono::abs(ahead) > kMost;
        if (differ && !clocksDiffer_) {
            std::cerr << "tallow: the clock of this machine is " +
                             groupedNumber(static_cast<std::size_t>(std::chrono::abs(ahead).count())) + " s " +
                             (ahead.count() > 0 ? "ahead of" : "behind") +
                             " that of the server; set the one that is wrong, since verdicts depend on it\n";
        }
        clocksDiffer_ = differ;
    }

    // Jobs that were taken and not begun.
    void giveBackRest() {
        std::vector<TakenJob> rest;
        for (const auto& [entry, job] : held_) {
            rest.push_back(job);
        }
        static_cast<void>(queue_.handBack(consumer_, rest, false));  // else they are taken over later
    }

    void work() {
        try {
            for (;;) {
                const std::vector<BatchItem> items = ready_.take();
                if (items.empty()) {
                    return;
                }
                check(items.front());
                ready_.done(items.front());
            }
        } catch (...) {
            fail(std::current_exception());
        }
    }

    void check(const BatchItem& item) {
        TakenJob job;
        {
            const std::scoped_lock lock(mutex_);
            job = held_.at(entries_.at(item.number));
        }
        if (!std::all_of(item.hosts.begin(), item.hosts.end(),
                         [this](const std::string& host) { return waitForTurn(host); })) {
            return;  // it is given back
        }
        const std::string checkedAt = presentTime();
        CheckResult result;
        result.file = item.label;
        result.start = item.start;
        result.expiry = item.expiry;
        try {
            const std::string certificates = item.others ? item.certificate + *item.others : std::string();
            const Checker checker = checkers_.forItem(item);
            fill(result,
                 item.identifier ? checker.checkIdentifier(askedOf(*item.identifier), item.issuer)
                                 : checker.check(item.others ? certificates : item.certificate, item.issuer),
                 options_);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            cli::fail(result, explainCaught(item.step));
        }
        const bool isFailed = result.state == CertificateState::kError;
        // A failed check is made again after a while, by this worker or another one.
        if (isFailed && job.numFailed + 1 < JobQueue::kMostAttempts) {
            static_cast<void>(queue_.handBack(consumer_, {job}, true));  // else it is taken over later
        } else {
            end(job, result, isFailed, checkedAt);
        }
        const std::scoped_lock lock(mutex_);
        held_.erase(job.entry);
        entries_.erase(item.number);
    }

    // Whether the check may begin.
    bool waitForTurn(const std::string& host) {
        while (!isAskedToStop() && !isFailed_) {
            const milliseconds wait =
                options_.rate == 0 || host.empty() ? milliseconds(0) : queue_.claimTurn(host, options_.rate);
            if (wait.count() == 0) {
                return true;
            }
            std::this_thread::sleep_for(wait);
        }
        return false;
    }

    static CheckResult errorOf(const TakenJob& job, CheckError error) {
        CheckResult result;
        result.file = job.id;
        result.error = std::move(error);
        return result;
    }

    std::string textOf(const TakenJob& job, const CheckResult& result, const std::string& checkedAt) const {
        std::string line = toJsonLine(result);
        line.pop_back();
        const unsigned numAttempts = std::min(job.numFailed + 1, JobQueue::kMostAttempts);
        return std::string("{\"schema\":\"") + kFleetLineSchema + "\",\"job\":" + quoted(job.id) +
               ",\"worker\":" + quoted(name_) + ",\"checkedAt\":\"" + checkedAt +
               "\",\"attempts\":" + std::to_string(numAttempts) + ",\"result\":" + line + '}';
    }

    void end(const TakenJob& job, const CheckResult& result, bool isDead, const std::string& checkedAt) {
        std::string text = textOf(job, result, checkedAt);
        if (text.size() > kLongestResult) {  // by the names in a hostile certificate; the status is what matters
            CheckResult brief = result;
            brief.file = job.id;
            brief.subject.clear();
            brief.verdict = {};
            text = textOf(job, brief, checkedAt);
        }
        if (!queue_.finish(consumer_, job, text, isDead, options_.keep)) {
            ++numLost_;  // the job is still in the queue
        }
    }

    const WorkerOptions& options_;
    const std::string name_, consumer_;  // for people, and at the server
    const RunInputs inputs_;
    const RunNetwork network_;
    Checkers checkers_;
    WorkQueue ready_;
    const std::thread::id mainThread_ = std::this_thread::get_id();
    std::atomic<bool> isEnding_{false}, isFailed_{false};
    std::atomic<std::size_t> numLost_{0};  // results
    std::size_t mostHeld_ = 0;
    JobQueue queue_;
    std::mutex mutex_;
    std::map<std::string, TakenJob> held_;        // by entry: those that are checked here
    std::map<std::size_t, std::string> entries_;  // by number
    std::size_t lastNumber_ = 0;
    std::condition_variable_any holderWakes_;
    bool clocksDiffer_ = false;  // at the last hold
    Clock::time_point nextLeft_{};
    std::exception_ptr failure_;
};

}  // namespace

Outcome runWorker(const WorkerOptions& options) {
    stopOnSignals();
    return Worker(options).run();
}

}  // namespace tallow::cli
