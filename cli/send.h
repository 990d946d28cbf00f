// tallow send: sends an existing request to a responder and reports the response.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Exit status 0 after a successful response, kExitNoAnswer after none, or one that does not match the request. Nothing
/// is verified. Throws InputError for an unusable file.
Outcome runSend(const SendOptions& options);

}  // namespace tallow::cli
