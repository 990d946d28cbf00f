// tallow check: asks about each certificate and says what came out.
#pragma once

#include <vector>

#include "cli/check_result.h"
#include "cli/options.h"

namespace tallow::cli {

/// Checks each certificate. Throws InputError for something given that cannot be used, other than a certificate asked
/// about: nothing was asked then.
std::vector<CheckResult> runCheck(const CheckOptions& options);

}  // namespace tallow::cli
