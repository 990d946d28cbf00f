// tallow send: hands a request to a responder as it is, and says what was answered.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Exit status 0 when a successful response came, kExitNoAnswer when none did or it does not fit the request. Nothing
/// is verified. Throws InputError for a file that cannot be used.
Outcome runSend(const SendOptions& options);

}  // namespace tallow::cli
