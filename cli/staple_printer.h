// Prints what `staple` did: text, JSON, or one line of JSON for each certificate.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"
#include "cli/staple_result.h"

namespace tallow::cli {

/// Results are printed one after the other, or together at the end as one JSON document. Failures go to standard error.
class StaplePrinter {
public:
    /// `options` must outlive this object.
    explicit StaplePrinter(const OutputOptions& options) : options_(options) {}

    void print(const StapleResult& result) const;
    /// What remains to be printed, and the exit status.
    [[nodiscard]] Outcome finish(const StapleReport& report) const;

private:
    const OutputOptions& options_;
};

}  // namespace tallow::cli
