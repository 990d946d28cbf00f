// What a command leaves behind, before anything is printed.
#pragma once

#include <string>
#include <vector>

#include "cli/check_result.h"

namespace tallow::cli {

struct Outcome {
    std::string out;  // the result, for standard output
    std::string err;  // whole lines, safe for a terminal
    int exitStatus = 0;
};

/// The results as text or JSON, their failures, and the exit status of them all.
Outcome outcomeOf(const std::vector<CheckResult>& results, bool json);

/// Nothing came out of it: the failure of what `name` names, and kExitNoAnswer.
Outcome failed(const std::string& name, const CheckError& error);

}  // namespace tallow::cli
