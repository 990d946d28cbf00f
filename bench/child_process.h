// Runs the commands that are compared, without a shell and with their output discarded.
#pragma once

#include <string>
#include <vector>

namespace bench {

/// Runs it to its end; throws unless it exits with status 0. Its standard error is ours, so that a failure is
/// explained, unless `quiet`.
void runCommand(const std::vector<std::string>& arguments, bool quiet = false);

/// Arguments put before those of every command, such as a profiler; none at first.
void setCommandPrefix(std::vector<std::string> arguments);

}  // namespace bench
