// The result of a command, before it is printed.
#pragma once

#include <string>

#include "cli/check_result.h"

namespace tallow::cli {

struct Outcome {
    std::string out;  // the result, for standard output
    std::string err;  // complete lines, safe for a terminal
    int exitStatus = 0;
};

/// No result: a failure that concerns `name`, and kExitNoAnswer.
Outcome failed(const std::string& name, const CheckError& error);

}  // namespace tallow::cli
