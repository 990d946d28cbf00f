// tallow worker: checks the jobs of a queue until it is told to stop.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Throws InputError for unusable options. SIGTERM and SIGINT end it after the checks that were begun.
Outcome runWorker(const WorkerOptions& options);

}  // namespace tallow::cli
