// tallow check --from-file: many certificates, several at a time.
//
// This thread reads the list (ItemSource) into a bounded queue (WorkQueue), from which worker threads take
// certificates, check them with a shared Checker (Checkers) and print the results (BatchOutput). Memory does not grow
// with the list.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "cli/check.h"
#include "cli/check_result.h"
#include "cli/options.h"

namespace tallow::cli {

struct BatchEnd {
    int exitStatus = 0;
    std::string mistake;               // why the list was not read to its end; empty: it was
    bool isComplete = false;           // there is a result for every certificate
    std::string err;                   // lines for standard error, the last of which is the summary
    std::vector<CheckResult> failure;  // the first certificate without an answer, if there is one; printed already
};

/// Checks the certificates of the list. Prints each result to `out` as it arrives, except for --monitor, and calls
/// `use` with it, one at a time. Throws InputError for unusable options, a list that cannot be opened and one without
/// certificates.
BatchEnd runBatch(const CheckOptions& options, std::ostream& out, const ResultUse& use);

}  // namespace tallow::cli
