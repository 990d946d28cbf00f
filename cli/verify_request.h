// tallow verify-request: judges a request as its receiver would.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

// Exit statuses of their own beside kExitNoAnswer, no verdict could be made.
inline constexpr int kExitValid = 0;
inline constexpr int kExitRefused = 1;
inline constexpr int kExitUnsigned = 2;

/// Throws InputError for what is given beside the request and cannot be used.
Outcome runVerifyRequest(const VerifyRequestOptions& options);

}  // namespace tallow::cli
