// tallow request: builds a request, signed if wanted, and writes it to a file.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Exit status 0 when the request is written, kExitNoAnswer when it cannot be built or signed. Throws InputError for a
/// file or option that cannot be used.
Outcome runRequest(const RequestOptions& options);

}  // namespace tallow::cli
