// tallow verify-request: verifies a received request.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

// Exit statuses besides kExitNoAnswer, which means that there is no verdict.
inline constexpr int kExitValid = 0;
inline constexpr int kExitRefused = 1;
inline constexpr int kExitUnsigned = 2;

/// Throws InputError for unusable input other than the request.
Outcome runVerifyRequest(const VerifyRequestOptions& options);

}  // namespace tallow::cli
