// tallow check: asks responders about certificates.
#pragma once

#include <functional>
#include <vector>

#include "cli/check_result.h"
#include "cli/options.h"

namespace tallow::cli {

/// Called with each result as soon as it is known.
using ResultUse = std::function<void(const CheckResult&)>;

/// Checks each certificate. Throws InputError for unusable input other than a certificate to check, before any
/// responder is asked.
std::vector<CheckResult> runCheck(const CheckOptions& options, const ResultUse& done);

}  // namespace tallow::cli
