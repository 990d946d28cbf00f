// tallow check: asks responders about certificates.
#pragma once

#include <functional>
#include <vector>

#include "cli/check_result.h"
#include "cli/network.h"
#include "cli/options.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

/// Called with each result as soon as it is known.
using ResultUse = std::function<void(const CheckResult&)>;

/// Checks each certificate. Throws InputError for unusable input other than a certificate to check, before any
/// responder is asked.
std::vector<CheckResult> runCheck(const CheckOptions& options, const ResultUse& done);

/// What these options say about each check.
Options optionsOf(const CheckOptions& options, const RunInputs& inputs, const RunNetwork& network);

/// The verdict as a result, with the state of the chain where that was asked for.
void fill(CheckResult& result, const Verdict& verdict, const CheckOptions& options);

}  // namespace tallow::cli
