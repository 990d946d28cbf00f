#include "cli/fleet/results.h"

#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "cli/batch/batch_totals.h"
#include "cli/fleet/job.h"
#include "cli/fleet/job_queue.h"
#include "cli/fleet/result_line.h"
#include "cli/input_files.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

namespace {

constexpr std::chrono::seconds kPatience{30};

// Entries that cannot be printed. Any of them may be in the place of a result.
class LeftOut {
public:
    explicit LeftOut(bool dead) : stream_(JobQueue::nameOfResults(dead)) {}

    void add(const QueuedResult& found) {
        if (++count_ > kMostNamed) {
            return;
        }
        const std::string cause = found.sizeText > kLongestResult
                                      ? "it has " + groupedNumber(found.sizeText) + " octets, more than the " +
                                            groupedNumber(kLongestResult) + " of a result"
                                      : "it is not a result of a worker";
        std::cerr << "tallow: the entry " + found.entry + " of " + stream_ +
                         (found.job.empty() ? "" : ", of the job " + found.job + ',') + " was left out: " + cause +
                         "; check its certificate again under another --run, and remove it at the server with XDEL " +
                         stream_ + ' ' + found.entry + '\n';
    }
    bool isEmpty() const { return count_ == 0; }
    std::string summary() const {
        return "tallow: " + groupedNumber(count_) +
               (count_ == 1 ? " entry is not a result and was left out\n"
                            : " entries are not results and were left out\n");
    }

private:
    static constexpr std::size_t kMostNamed = 10;
    const std::string stream_;
    std::size_t count_ = 0;
};

Outcome notComplete(const BatchTotals& totals) {
    return {"",
            std::string("tallow: the queue cannot be used") +
                (totals.count() == 0 ? "\n" : "; the results above are not complete\n"),
            kExitNoAnswer};
}

}  // namespace

Outcome runResults(const ResultsOptions& options, std::ostream& out) {
    openSettingsFile(options);
    if (!options.run.empty() && !isJobId(options.run)) {
        throw InputError("--run", "cannot be the name of a run; give the name that enqueue printed");
    }
    JobQueue queue(options.queue, patienceOf(kPatience));
    BatchTotals totals;
    LeftOut leftOut(options.dead);
    std::string after = JobQueue::kStart;
    std::vector<QueuedResult> page;
    for (;;) {
        if (!queue.results(options.dead, after, page)) {
            return notComplete(totals);
        }
        if (page.empty()) {
            break;
        }
        std::vector<std::string> printed;
        for (const QueuedResult& found : page) {
            after = found.entry;
            const std::optional<ResultLine> line = resultLineFrom(found.text);
            if (!line) {
                if (options.run.empty() || found.job.empty() || runOf(found.job) == options.run) {
                    leftOut.add(found);
                }
            } else if (options.run.empty() || runOf(line->job) == options.run) {
                out << line->text << '\n';
                totals.add(line->state);
                printed.push_back(found.entry);
            }
        }
        out.flush();
        if (!out) {
            return {"", "", kExitNoAnswer};  // they stay on the server
        }
        if (options.remove && !printed.empty() && !queue.remove(printed)) {
            return {"", "tallow: the queue cannot be used; some results above were not removed\n", kExitNoAnswer};
        }
    }
    Outcome outcome{"", "", totals.count() == 0 ? kExitNoAnswer : totals.exitStatus()};
    if (totals.count() == 0) {
        outcome.err = std::string("tallow: the queue has no ") + (options.dead ? "dead letters" : "results") +
                      (options.run.empty() ? "" : " of the run " + options.run) + '\n';
    }
    if (!leftOut.isEmpty()) {
        outcome.err += leftOut.summary();
        outcome.exitStatus = outcome.exitStatus == kExitRevoked ? kExitRevoked : kExitNoAnswer;
    }
    const std::optional<std::size_t> numJobs = queue.numJobs(options.run);
    if (!numJobs) {
        outcome.err += "tallow: the queue cannot be used; how many jobs have no result so far is not known\n";
        outcome.exitStatus = outcome.exitStatus == kExitRevoked ? kExitRevoked : kExitNoAnswer;
    } else if (*numJobs != 0) {
        outcome.err += "tallow: jobs of " + (options.run.empty() ? "all runs" : "the run " + options.run) +
                       " without a result so far: " + groupedNumber(*numJobs) + '\n';
    }
    return outcome;
}

}  // namespace tallow::cli
