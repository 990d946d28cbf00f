// tallow explain: the meaning of a status, its usual causes, and what helps.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Throws InputError for a code that is not known.
Outcome runExplain(const ExplainOptions& options);

}  // namespace tallow::cli
