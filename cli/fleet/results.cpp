#include "cli/fleet/results.h"

#include <algorithm>
#include <ostream>
#include <utility>
#include <vector>

#include "cli/batch/batch_totals.h"
#include "cli/fleet/job.h"
#include "cli/fleet/job_queue.h"
#include "cli/fleet/result_line.h"
#include "cli/input_files.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

namespace {

constexpr std::size_t kPage = 16;  // of dead letters with jobs and results of 1 MiB; a reply has a limit
constexpr std::chrono::seconds kPatience{30};

// Entries of another run.
bool isOfRun(const std::string& job, const std::string& run) {
    return run.empty() || (job.starts_with(run + '-') && job.find('-', run.size() + 1) == std::string::npos);
}

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
    std::size_t numUnreadable = 0;
    std::string after = "-";
    std::vector<std::pair<std::string, std::string>> page;
    do {
        if (!queue.results(options.dead, after, kPage, page) || (!page.empty() && page.back().first == after)) {
            return notComplete(totals);
        }
        std::vector<std::string> printed;
        for (const auto& [entry, text] : page) {
            after = entry;
            const std::optional<ResultLine> line = resultLineFrom(text);
            if (!line) {
                ++numUnreadable;
            } else if (isOfRun(line->job, options.run)) {
                out << line->text << '\n';
                totals.add(line->state);
                printed.push_back(entry);
            }
        }
        out.flush();
        if (!out) {
            return {"", "", kExitNoAnswer};  // they stay on the server
        }
        if (options.remove && !printed.empty() && !queue.remove(printed)) {
            return {"", "tallow: the queue cannot be used; some results above were not removed\n", kExitNoAnswer};
        }
    } while (page.size() == kPage);
    Outcome outcome{"", "", totals.count() == 0 ? kExitNoAnswer : totals.exitStatus()};
    if (totals.count() == 0) {
        outcome.err = std::string("tallow: the queue has no ") + (options.dead ? "dead letters" : "results") +
                      (options.run.empty() ? "" : " of the run " + options.run) + '\n';
    }
    if (numUnreadable != 0) {  // any of them may be in the place of a result
        outcome.err += "tallow: " + groupedNumber(numUnreadable) +
                       (numUnreadable == 1 ? " entry is not a result and was left out\n"
                                           : " entries are not results and were left out\n");
        outcome.exitStatus = outcome.exitStatus == kExitRevoked ? kExitRevoked : kExitNoAnswer;
    }
    if (const std::optional<std::size_t> numJobs = queue.numJobs(); numJobs && *numJobs != 0) {
        outcome.err += "tallow: jobs of all runs without a result so far: " + groupedNumber(*numJobs) + '\n';
    }
    return outcome;
}

}  // namespace tallow::cli
