// How many checks at a time the limit of open files permits.
#pragma once

#include <string>

namespace tallow::cli {

/// Up to `wanted` jobs that have `filesOfJob` files open each; raises the limit where the system allows that. If they
/// are fewer, `note` is a line that says why, for standard error.
unsigned jobsWithinOpenFiles(unsigned wanted, unsigned filesOfJob, std::string& note);

}  // namespace tallow::cli
