#include "cli/batch/batch.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "checker/text/safe_text.h"
#include "cli/batch/batch_output.h"
#include "cli/batch/bundles.h"
#include "cli/batch/checkers.h"
#include "cli/batch/item_source.h"
#include "cli/batch/recorded_options.h"
#include "cli/batch/resume_file.h"
#include "cli/batch/work_queue.h"
#include "cli/check_result_of.h"
#include "cli/deadlines.h"
#include "cli/error_text.h"
#include "cli/evidence_text.h"
#include "cli/input_files.h"
#include "cli/interruption.h"
#include "cli/open_files.h"

namespace tallow::cli {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTick{200};
// Enough for other hosts to go on while one is slow; some kilobytes each.
constexpr std::size_t kMostWaiting = 2000;

// Signals end the process on the main thread, which makes the temporary files.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

// Ends the reading of the list, which may have nothing to read for a long time.
struct Stopped {};

class Batch {
public:
    Batch(const CheckOptions& options, std::ostream& out, const ResultUse& use)
        : options_(options),
          inputs_(options),
          network_(options),
          source_(options, inputs_,
                  [this] {
                      tick();
                      if (isStopped()) {
                          throw Stopped();
                      }
                  }),
          checkers_(inputs_, optionsOf(options, inputs_, network_)),
          queue_(kMostWaiting, options.batch.perHost),
          output_(options, out, use),
          bundles_(inputs_.hashOid()) {
        if (!options.batch.resume.empty()) {
            resume_.emplace(options.batch.resume, recordedOptions(options, inputs_));
            noted_.emplace();
        }
    }

    BatchEnd run() {
        std::optional<InputError> mistake;
        {
            const Workers workers(*this);
            mistake = readAll();
            queue_.close();
            while (!isStopped() && !queue_.isDone(kTick)) {
                tick();
            }
        }
        output_.hideProgress();
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        const BatchTotals& totals = output_.totals();
        if (totals.count() == 0 && !isBroken_ && !mistake) {
            throw InputError(options_.batch.list, "names no certificate; write one path or JSON object a line");
        }
        finishResume(!mistake && !isBroken_ && totals.numWithoutAnswer == 0);
        BatchEnd end{totals.exitStatus(),
                     mistake ? mistake->what() : "",
                     !mistake && !isBroken_,
                     mistake ? failureLine(*mistake) : "",
                     {}};
        if (mistake || isUnsaved_) {
            end.exitStatus = end.exitStatus == kExitRevoked ? kExitRevoked : kExitNoAnswer;
        }
        end.err += summaryOf(totals, elapsed()) + '\n';
        if (output_.firstFailure()) {
            end.failure.push_back(*output_.firstFailure());
        }
        return end;
    }

private:
    // The threads that check; joined by the destructor.
    class Workers {
    public:
        explicit Workers(Batch& batch) {
            const unsigned numJobs = batch.numPossible();
            const SignalsBlocked blocked;
            for (unsigned i = 0; i < numJobs; ++i) {
                try {
                    threads_.emplace_back([&batch] { batch.work(); });
                } catch (const std::system_error&) {
                    if (threads_.empty()) {
                        throw InputError("--jobs", "no thread can be started; raise the limit of processes");
                    }
                    break;  // those that run do the work
                }
            }
        }

    private:
        std::vector<std::jthread> threads_;
    };

    unsigned numPossible() {
        constexpr unsigned kForEach = 4;  // a connection with its descriptors for events, a file of the cache
        std::string note;
        const unsigned possible = jobsWithinOpenFiles(options_.batch.jobs, kForEach, note);
        if (!note.empty()) {
            output_.note(note);
        }
        return possible;
    }

    static std::string failureLine(const InputError& mistake) {
        return "tallow: " + text::safeLine(mistake.what()) + '\n';
    }

    // Puts every certificate into the queue. What ends the list early is returned.
    std::optional<InputError> readAll() {
        try {
            std::optional<BatchItem> item;
            while (!isStopped() && (item = source_.next())) {
                ++numRead_;
                tick();
                if (item->failure) {
                    add(*item, resultOf(*item));
                } else if (const auto state = resume_ ? resume_->recorded(*item) : std::nullopt) {
                    output_.count(*state);
                } else {
                    while (!queue_.put(*item, kTick)) {
                        tick();
                    }
                }
            }
        } catch (const InputError& mistake) {
            return mistake;
        } catch (const Stopped&) {
            return std::nullopt;
        } catch (...) {
            stop(std::current_exception());
        }
        return std::nullopt;
    }

    // Several times a second on the main thread.
    void tick() {
        if (const int signal = noted_ ? NotedSignals::first() : 0; signal != 0) {
            if (!isUnsaved_) {
                save();
            }
            output_.note(isUnsaved_ ? "" : "tallow: interrupted; the same command continues the run\n");
            endBySignal(signal);
        }
        if (resume_ && !isUnsaved_ && resume_->isDue()) {
            save();
        }
        if (const Clock::time_point now = Clock::now(); now >= nextProgress_) {
            nextProgress_ = now + kTick;
            output_.showProgress(elapsed(), source_.reader().part(), numRead_);
        }
    }

    // A file that cannot be written any more is reported once; the checks go on.
    void save() {
        try {
            resume_->save();
        } catch (const InputError& mistake) {
            isUnsaved_ = true;
            output_.note(failureLine(mistake));
        }
    }

    void finishResume(bool isComplete) {
        if (!resume_ || isUnsaved_) {
            return;
        }
        if (isComplete) {
            resume_->remove();
        } else {
            save();
        }
    }

    std::chrono::milliseconds elapsed() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start_);
    }

    void work() {
        try {
            for (;;) {
                const std::vector<BatchItem> items = queue_.take(options_.batch.bundle);
                if (items.empty()) {
                    return;
                }
                check(items);
                queue_.done(items.front());
            }
        } catch (...) {
            stop(std::current_exception());
        }
    }

    void check(const std::vector<BatchItem>& items) {
        std::vector<std::optional<Verdict>> verdicts(items.size());
        if (items.size() > 1) {
            std::string notice;
            const std::string& url = items.front().url.empty() ? options_.url : items.front().url;
            verdicts = bundles_.ask(checkers_.forItem(items.front()), items, url, notice);
            if (!notice.empty()) {
                output_.note(notice);
            }
        }
        for (std::size_t i = 0; i < items.size() && !isBroken_; ++i) {
            add(items[i], resultOf(items[i], verdicts[i] ? &*verdicts[i] : nullptr));
        }
    }

    // `known` is a verdict that a request for several certificates gave; null: there is none.
    CheckResult resultOf(const BatchItem& item, const Verdict* known = nullptr) {
        CheckResult result;
        result.file = item.label;
        result.line = item.line;
        result.start = item.start;
        result.expiry = item.expiry;
        if (known != nullptr) {
            fill(result, *known, options_);
            return result;
        }
        try {
            if (item.failure) {
                std::rethrow_exception(item.failure);
            }
            const std::string certificates = item.others ? item.certificate + *item.others : std::string();
            const Checker checker = checkers_.forItem(item);
            const Verdict verdict = item.identifier
                                        ? checker.checkIdentifier(askedOf(*item.identifier), item.issuer)
                                        : checker.check(item.others ? certificates : item.certificate, item.issuer);
            fill(result, verdict, options_);
            if (options_.batch.bundle > 1) {
                bundles_.learn(item.group, verdict);
            }
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            fail(result, explainCaught(item.step));
        }
        return result;
    }

    void add(const BatchItem& item, const CheckResult& result) {
        if (!output_.add(result)) {
            isBroken_ = true;
            queue_.stop();
        } else if (resume_) {
            resume_->record(item, result.state, endOf(result));
        }
    }

    // Until when a verdict may be counted again: as long as its response would be accepted, and the certificates and
    // CRLs that prove who signed it count. Empty: not at all.
    std::string endOf(const CheckResult& result) const {
        std::optional<Time> end = result.verdict.nextUpdate;
        if (!end || !hasAnswer(result.verdict)) {
            return {};
        }
        if (options_.maxAge && result.verdict.thisUpdate) {
            end = std::min(*end, *result.verdict.thisUpdate + *options_.maxAge);
        }
        const auto limit = [&end](const auto& time) { end = time ? std::min<Time>(*end, *time) : *end; };
        limit(expiryOf(result.verdict.signerCertificate));
        const Evidence& evidence = result.verdict.evidence;
        for (const auto* chain : {&evidence.signerChain, &evidence.certificateChain}) {
            for (const ChainLink& link : *chain) {
                limit(link.notAfter);
                limit(link.crlNextUpdate);
            }
        }
        if (options_.verifyChain) {
            limit(result.expiry);
        }
        return timeText(end);
    }

    void stop(std::exception_ptr failure) {
        const std::scoped_lock lock(mutex_);
        failure_ = failure_ ? failure_ : std::move(failure);
        queue_.stop();
    }

    bool isStopped() {
        const std::scoped_lock lock(mutex_);
        return isBroken_ || failure_;
    }

    const CheckOptions& options_;
    const RunInputs inputs_;
    const RunNetwork network_;
    ItemSource source_;
    Checkers checkers_;
    WorkQueue queue_;
    BatchOutput output_;
    Bundles bundles_;
    std::optional<ResumeFile> resume_;
    std::optional<NotedSignals> noted_;
    bool isUnsaved_ = false;  // the resume file cannot be written
    const Clock::time_point start_ = Clock::now();
    Clock::time_point nextProgress_ = start_;
    std::size_t numRead_ = 0;
    std::mutex mutex_;
    std::exception_ptr failure_;         // what ended the run, such as exhausted memory
    std::atomic<bool> isBroken_{false};  // results cannot be written
};

}  // namespace

BatchEnd runBatch(const CheckOptions& options, std::ostream& out, const ResultUse& use) {
    return Batch(options, out, use).run();
}

}  // namespace tallow::cli
