// tallow store: lists, adds and removes the files of a system store.
#pragma once

#include <string>

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Throws InputError for a store or a file that cannot be used; unless its text says otherwise, nothing has changed.
Outcome runStore(const StoreOptions& options);

/// What the stores of roots and CAs contain that is unusable, or ignored because others can write it: complete lines
/// for standard error, empty when there is nothing to report.
std::string storeWarnings();

}  // namespace tallow::cli
