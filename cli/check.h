// tallow check: asks responders about certificates.
#pragma once

#include <vector>

#include "cli/check_result.h"
#include "cli/options.h"

namespace tallow::cli {

/// Checks each certificate. Throws InputError for unusable input other than a certificate to check, before any
/// responder is asked.
std::vector<CheckResult> runCheck(const CheckOptions& options);

}  // namespace tallow::cli
