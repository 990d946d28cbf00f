// tallow store: what stands in the folders of a system store, put there and taken out.
#pragma once

#include <string>

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Throws InputError for a store or a file that cannot be used; nothing has changed then, unless it says so.
Outcome runStore(const StoreOptions& options);

/// What is in the stores of roots and CAs and cannot be used, or does not count since others may write it: whole lines
/// for standard error, empty when nothing is wrong.
std::string storeWarnings();

}  // namespace tallow::cli
