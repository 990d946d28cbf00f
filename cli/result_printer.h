// Prints the results of check and verify as they become known.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "cli/check_result.h"
#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Results are printed one after the other, or together at the end as one JSON document. Failures and explanations go
/// to standard error.
class ResultPrinter {
public:
    /// Results go to `out`, which is std::cout unless that takes an output file. Both must outlive this object.
    ResultPrinter(const OutputOptions& options, std::ostream& out);

    /// What a result prints.
    struct Texts {
        std::string out, err;
    };
    /// On any thread.
    [[nodiscard]] Texts textsOf(const CheckResult& result) const;
    void print(const Texts& texts) const;
    void print(const CheckResult& result) const { print(textsOf(result)); }
    /// What remains to be printed, and the exit status of all results.
    [[nodiscard]] Outcome finish(const std::vector<CheckResult>& results) const;

private:
    const OutputOptions& options_;
    std::ostream& out_;
    bool isColoured_;
};

}  // namespace tallow::cli
