#include "cli/fleet/worker.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
#include <exception>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "checker/text/safe_text.h"
#include "cli/batch/checkers.h"
#include "cli/batch/flat_object.h"
#include "cli/batch/work_queue.h"
#include "cli/check.h"
#include "cli/check_result_of.h"
#include "cli/error_text.h"
#include "cli/fleet/job.h"
#include "cli/fleet/job_queue.h"
#include "cli/input_files.h"
#include "cli/output.h"

namespace tallow::cli {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kTick{200};
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
    return std::string(host.data()) + '-' + std::to_string(::getpid());
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
          inputs_(options),
          network_(options),
          checkers_(inputs_, optionsOf(options, inputs_, network_)),
          ready_(options.batch.jobs, options.batch.perHost),
          queue_(options.queue, [this](milliseconds /*lost*/) { return givesUp(); }) {}

    Outcome run() {
        {
            std::vector<std::jthread> threads;
            try {
                startThreads(threads);
                while (!isAskedToStop() && !isFailed_ && !(options_.untilEmpty && numHeld() == 0 && queue_.isEmpty())) {
                    takeJobs();
                    hold();
                }
                isEnding_ = true;
                ready_.close();
                while (!isFailed_ && !ready_.isDone(kTick)) {
                    hold();
                }
            } catch (...) {  // the threads could not end otherwise
                fail(std::current_exception());
            }
        }
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        queue_.leave(name_);
        return {"", "", isResultLost_ ? kExitNoAnswer : kExitGood};
    }

private:
    // Signals are for the main thread.
    void startThreads(std::vector<std::jthread>& threads) {
        sigset_t all;
        sigset_t before;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before);
        try {
            for (unsigned i = 0; i < options_.batch.jobs; ++i) {
                threads.emplace_back([this] { work(); });
            }
        } catch (const std::system_error&) {
            if (threads.empty()) {
                throw InputError("--jobs", "no thread can be started; raise the limit of processes");
            }
            // those that run do the work
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
        const std::size_t room = options_.batch.jobs - std::min<std::size_t>(options_.batch.jobs, numHeld());
        if (room == 0) {
            std::this_thread::sleep_for(milliseconds(20));
            return;
        }
        std::vector<TakenJob> jobs;
        bool isAll = true;
        if (const Clock::time_point now = Clock::now(); now >= nextLeft_) {
            jobs = queue_.takeLeft(name_, room, options_.claimAfter, isAll);
            nextLeft_ = isAll ? now + options_.claimAfter / 4 : now;
        }
        if (jobs.empty()) {
            jobs = queue_.take(name_, room, isAll ? kTick : milliseconds(1));
        }
        for (TakenJob& job : jobs) {
            begin(std::move(job));
        }
    }

    void begin(TakenJob job) {
        BatchItem item;
        if (job.attempt > JobQueue::kMostAttempts) {
            // Each time a worker ended while it had the job.
            end(job, errorOf(job, {status::kFail, "checking: no worker finished it"}), true);
            return;
        }
        try {
            item = itemOf(job.id, job.job, options_.url);
        } catch (const InputError& mistake) {
            end(job, errorOf(job, {mistake.code(), mistake.what()}), false);
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
            hold();
        }
    }

    // Tells the server that the jobs are being worked on, so that no other worker gets them.
    void hold() {
        const Clock::time_point now = Clock::now();
        if (now < nextHold_) {
            return;
        }
        nextHold_ = now + options_.claimAfter / 4;
        std::vector<std::string> entries;
        {
            const std::scoped_lock lock(mutex_);
            for (const auto& [entry, job] : held_) {
                entries.push_back(entry);
            }
        }
        queue_.hold(name_, entries);
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
        std::for_each(item.hosts.begin(), item.hosts.end(), [this](const std::string& host) { waitForTurn(host); });
        CheckResult result;
        result.file = item.label;
        result.start = item.start;
        result.expiry = item.expiry;
        try {
            const std::string certificates = item.others ? item.certificate + *item.others : std::string();
            fill(result, checkers_.forItem(item).check(item.others ? certificates : item.certificate, item.issuer),
                 options_);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            cli::fail(result, explainCaught("reading the certificate"));
        }
        const bool isFailed = result.state == CertificateState::kError;
        // A failed check is made again after a while, by this worker or another one.
        if (!isFailed || job.attempt >= JobQueue::kMostAttempts) {
            end(job, result, isFailed);
        }
        const std::scoped_lock lock(mutex_);
        held_.erase(job.entry);
        entries_.erase(item.number);
    }

    void waitForTurn(const std::string& host) {
        while (options_.rate != 0 && !host.empty()) {
            const milliseconds wait = queue_.claimTurn(host, options_.rate);
            if (wait.count() == 0 || givesUp()) {
                return;
            }
            std::this_thread::sleep_for(wait);
        }
    }

    static CheckResult errorOf(const TakenJob& job, CheckError error) {
        CheckResult result;
        result.file = job.id;
        result.error = std::move(error);
        return result;
    }

    void end(const TakenJob& job, const CheckResult& result, bool isDead) {
        std::string line = toJsonLine(result);
        line.pop_back();
        const std::string text = std::string("{\"schema\":\"") + kFleetLineSchema + "\",\"job\":" + quoted(job.id) +
                                 ",\"worker\":" + quoted(name_) + ",\"checkedAt\":\"" + presentTime() +
                                 "\",\"attempts\":" + std::to_string(job.attempt) + ",\"result\":" + line + '}';
        if (!queue_.finish(job, text, isDead, options_.keep)) {
            isResultLost_ = true;  // the job is still in the queue
        }
    }

    const WorkerOptions& options_;
    const std::string name_;
    const RunInputs inputs_;
    const RunNetwork network_;
    Checkers checkers_;
    WorkQueue ready_;
    const std::thread::id mainThread_ = std::this_thread::get_id();
    std::atomic<bool> isEnding_{false}, isFailed_{false}, isResultLost_{false};
    JobQueue queue_;
    std::mutex mutex_;
    std::map<std::string, TakenJob> held_;        // by entry: those that are checked here
    std::map<std::size_t, std::string> entries_;  // by number
    std::size_t lastNumber_ = 0;
    Clock::time_point nextLeft_{}, nextHold_{};
    std::exception_ptr failure_;
};

}  // namespace

Outcome runWorker(const WorkerOptions& options) {
    stopOnSignals();
    return Worker(options).run();
}

}  // namespace tallow::cli
