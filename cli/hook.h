// A command of the user that runs after files were changed.
#pragma once

#include <string>
#include <vector>

namespace tallow::cli {

/// Runs the command with sh; "$@" are the arguments. Standard output is for results, so that what the command prints
/// goes to standard error. Returns what went wrong, "exit status 1" for example; empty after success.
std::string runHook(const std::string& command, const std::vector<std::string>& arguments);

}  // namespace tallow::cli
