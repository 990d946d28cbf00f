// tallow explain: the meaning of a status, its usual causes, and what to do. Without a status, a list of all.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Throws InputError for a code or symbol that is not known.
Outcome runExplain(const ExplainOptions& options);

}  // namespace tallow::cli
