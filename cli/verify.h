// tallow verify: verifies a stored response, without any network.
#pragma once

#include <vector>

#include "cli/check_result.h"
#include "cli/options.h"

namespace tallow::cli {

/// One result for the given certificate, else one for each entry of the given request, else one for each entry of the
/// response. A response that is rejected as a whole gives the same error for each. Throws InputError for unusable input
/// other than the response.
std::vector<CheckResult> runVerify(const VerifyOptions& options);

}  // namespace tallow::cli
