// tallow enqueue: puts the certificates of a list into a queue.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Throws InputError for unusable options and a list that cannot be opened.
Outcome runEnqueue(const EnqueueOptions& options);

}  // namespace tallow::cli
