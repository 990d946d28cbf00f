// tallow verify: judges a stored response, without any network.
#pragma once

#include <vector>

#include "cli/check_result.h"
#include "cli/options.h"

namespace tallow::cli {

/// One result for the certificate given, else one for each entry of the request given, else one for each entry of the
/// response; a response that is of no use as a whole gives that for each. Throws InputError for what is given beside
/// the response and cannot be used.
std::vector<CheckResult> runVerify(const VerifyOptions& options);

}  // namespace tallow::cli
