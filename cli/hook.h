// A command of the user that runs after files were changed.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace tallow::cli {

/// Runs the command with sh; "$@" are the arguments. Standard output is for results, so that what the command prints
/// goes to standard error. After `limit` it is stopped with all processes that it started, so that runs of a timer do
/// not pile up. Returns what went wrong, "exit status 1" for example; empty after success.
std::string runHook(const std::string& command, const std::vector<std::string>& arguments,
                    std::chrono::seconds limit = std::chrono::minutes(5));

}  // namespace tallow::cli
