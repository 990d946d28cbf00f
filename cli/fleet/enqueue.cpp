#include "cli/fleet/enqueue.h"

#include <chrono>
#include <iostream>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "checker/text/safe_text.h"
#include "cli/batch/batch_totals.h"
#include "cli/batch/item_source.h"
#include "cli/error_text.h"
#include "cli/fleet/job.h"
#include "cli/fleet/job_queue.h"
#include "cli/input_files.h"

namespace tallow::cli {

namespace {

constexpr std::size_t kMostInStep = 100;
constexpr std::size_t kLargestStep = 4U << 20;
constexpr std::chrono::seconds kPatience{30};

std::string randomRun() {
    std::random_device random;
    constexpr const char* kDigits = "0123456789abcdef";
    std::string run;
    for (int i = 0; i < 16; ++i) {
        run += kDigits[random() % 16];
    }
    return run;
}

class Enqueue {
public:
    explicit Enqueue(const EnqueueOptions& options)
        : list_(options.batch.list),
          run_(options.run.empty() ? randomRun() : options.run),
          inputs_(options),
          source_(options, inputs_, [] {}),
          wait_(options.wait),
          queue_(options.queue, patienceOf(kPatience)) {
        if (!isJobId(run_) || run_.size() > 64) {
            throw InputError(
                "--run", "cannot be the name of a run; give 1 to 64 letters, digits, dots, hyphens and underscores");
        }
    }

    Outcome run() {
        std::string mistake;
        try {
            std::optional<BatchItem> item;
            while (stop_.empty() && (item = source_.next())) {
                add(*item);
                if (waiting_.size() >= kMostInStep || sizeWaiting_ >= kLargestStep) {
                    send();
                }
            }
        } catch (const InputError& unreadable) {  // what was read of the list is added
            mistake = text::safeLine(unreadable.what());
        }
        if (stop_.empty()) {
            send();
        }
        if (stop_.empty() && mistake.empty() && numAdded_ + numKnown_ + numUnusable_ == 0) {
            throw InputError(list_, "names no certificate; write one path or JSON object a line");
        }
        Outcome outcome{"", "", stop_.empty() && mistake.empty() && numUnusable_ == 0 ? kExitGood : kExitNoAnswer};
        outcome.out = run_ + ": " + groupedNumber(numAdded_) + " added" +
                      (numKnown_ == 0 ? "" : ", " + groupedNumber(numKnown_) + " have their result already") +
                      (numUnusable_ == 0 ? "" : ", " + groupedNumber(numUnusable_) + " cannot be used") + '\n';
        outcome.err = mistake.empty() ? "" : "tallow: " + mistake + '\n';
        if (stop_.empty() && numAdded_ == 0 && numKnown_ != 0) {
            outcome.err += "tallow: nothing is checked again under the same --run; name another one for a new check\n";
        }
        if (!stop_.empty()) {
            outcome.err += "tallow: " + stop_ + "; repeat the command with --run " + run_ +
                           " later: each job has one result all the same\n";
        }
        return outcome;
    }

private:
    void add(const BatchItem& item) {
        try {
            if (item.failure) {
                std::rethrow_exception(item.failure);
            }
            const std::string suffix = item.number > 1 ? '.' + std::to_string(item.number) : "";
            waiting_.emplace_back(run_ + '-' + std::to_string(item.line) + suffix, jobOf(item));
            sizeWaiting_ += waiting_.back().second.size();
        } catch (const InputError& mistake) {
            ++numUnusable_;
            std::cerr << "tallow: " + text::safeLine(mistake.what()) + '\n';
        }
    }

    // On failure `stop_` says why.
    void send() {
        using Kind = JobQueue::Added::Kind;
        constexpr std::chrono::milliseconds kPause{500};
        const auto begun = std::chrono::steady_clock::now();
        JobQueue::Added added{Kind::kAdded, 0};
        while (!waiting_.empty() && (added = queue_.add(waiting_)).kind == Kind::kFull) {
            if (!std::exchange(isFullReported_, true)) {
                std::cerr << "tallow: the queue is full with " + groupedNumber(JobQueue::kMostJobs) +
                                 " jobs; waiting for room\n";
            }
            if (std::chrono::steady_clock::now() - begun >= wait_) {
                stop_ = "the queue had no room for " + std::to_string(wait_.count()) + " s";
                return;
            }
            std::this_thread::sleep_for(kPause);
        }
        if (added.kind == Kind::kLost) {
            stop_ = "the queue cannot be used";
            return;
        }
        numAdded_ += added.count;
        numKnown_ += waiting_.size() - added.count;
        waiting_.clear();
        sizeWaiting_ = 0;
    }

    const std::string list_, run_;
    const RunInputs inputs_;
    ItemSource source_;
    const std::chrono::seconds wait_;
    JobQueue queue_;
    std::vector<std::pair<std::string, std::string>> waiting_;
    std::size_t sizeWaiting_ = 0;
    std::size_t numAdded_ = 0, numKnown_ = 0, numUnusable_ = 0;
    bool isFullReported_ = false;
    std::string stop_;  // why no more is added; empty: nothing is wrong
};

}  // namespace

Outcome runEnqueue(const EnqueueOptions& options) {
    return Enqueue(options).run();
}

}  // namespace tallow::cli
