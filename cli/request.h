// tallow request: builds a request, signs it on request, and writes it to a file.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Exit status 0 when the request is written, kExitNoAnswer when it cannot be built or signed. Throws InputError for an
/// unusable file or option.
Outcome runRequest(const RequestOptions& options);

}  // namespace tallow::cli
