// tallow check: asks about each certificate and says what came out.
#pragma once

#include <vector>

#include "cli/check_result.h"
#include "cli/options.h"

namespace tallow::cli {

/// Checks each certificate. Throws InputError for something given that cannot be used, other than a certificate asked
/// about: nothing was asked then.
std::vector<CheckResult> runCheck(const CheckOptions& options);

/// 1 when one is revoked, else 3 when for one no trusted answer was had (or an answer could not be saved as wanted),
/// else 2 when one is unknown, else 0.
int exitStatusOf(const std::vector<CheckResult>& results);

}  // namespace tallow::cli
