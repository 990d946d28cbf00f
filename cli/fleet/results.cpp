#include "cli/fleet/results.h"

#include <algorithm>
#include <ostream>
#include <utility>
#include <vector>

#include "cli/batch/batch_totals.h"
#include "cli/fleet/job_queue.h"
#include "cli/fleet/result_line.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

namespace {

constexpr std::size_t kPage = 50;
constexpr std::chrono::seconds kPatience{30};

// Entries of another run.
bool isOfRun(const std::string& job, const std::string& run) {
    return run.empty() || (job.starts_with(run + '-') && job.find('-', run.size() + 1) == std::string::npos);
}

}  // namespace

Outcome runResults(const ResultsOptions& options, std::ostream& out) {
    openSettingsFile(options);
    JobQueue queue(options.queue, patienceOf(kPatience));
    BatchTotals totals;
    std::size_t numUnreadable = 0;
    std::string after = "-";
    std::vector<std::pair<std::string, std::string>> page;
    do {
        if (!queue.results(options.dead, after, kPage, page)) {
            return {"", "tallow: the queue cannot be reached; the results above are not complete\n", kExitNoAnswer};
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
            return {"", "tallow: the queue cannot be reached; some results above were not removed\n", kExitNoAnswer};
        }
    } while (page.size() == kPage);
    Outcome outcome{"", "", totals.count() == 0 ? kExitNoAnswer : totals.exitStatus()};
    if (numUnreadable != 0) {
        outcome.err = "tallow: " + groupedNumber(numUnreadable) + " entries are no results and were left out\n";
    }
    return outcome;
}

}  // namespace tallow::cli
