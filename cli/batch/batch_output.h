// Where the results of a list go, from several threads: printed as they arrive, and counted.
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <mutex>
#include <optional>
#include <string>

#include "cli/batch/batch_totals.h"
#include "cli/batch/progress.h"
#include "cli/check.h"
#include "cli/check_result.h"
#include "cli/result_printer.h"

namespace tallow::cli {

class BatchOutput {
public:
    /// All must outlive the object. `use` is called with each result, one at a time.
    BatchOutput(const CheckOptions& options, std::ostream& out, const ResultUse& use)
        : options_(options), printer_(options, out), out_(out), use_(use) {}

    /// Prints and counts it; on any thread. False when it could not be written: no later one can be.
    [[nodiscard]] bool add(const CheckResult& result);

    /// Counts one that an earlier run reported; on any thread.
    void count(CertificateState state);
    /// Shows how far the run is, on a terminal. `part` of the list is in the queue or done.
    void showProgress(std::chrono::milliseconds elapsed, std::optional<double> part, std::size_t numRead);
    /// Prints a line on standard error; on any thread.
    void note(const std::string& line);
    void hideProgress();

    /// The counts of what was written. Not while results are added.
    const BatchTotals& totals() const { return totals_; }
    /// The first result without an answer. Not while results are added.
    const std::optional<CheckResult>& firstFailure() const { return firstFailure_; }

private:
    ResultPrinter::Texts textsOf(const CheckResult& result) const;

    const CheckOptions& options_;
    const ResultPrinter printer_;
    std::ostream& out_;
    const ResultUse& use_;
    std::mutex mutex_;
    BatchTotals totals_;
    ProgressLine progress_;
    std::optional<CheckResult> firstFailure_;
};

}  // namespace tallow::cli
