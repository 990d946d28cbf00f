// tallow store: what stands in the folders of a system store, put there and taken out.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Throws InputError for a store or a file that cannot be used; nothing has changed then, unless it says so.
Outcome runStore(const StoreOptions& options);

}  // namespace tallow::cli
