// tallow results: prints the results of a queue, one JSON object a line.
#pragma once

#include <iosfwd>

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Prints to `out` as they are read. Throws InputError for unusable options.
Outcome runResults(const ResultsOptions& options, std::ostream& out);

}  // namespace tallow::cli
