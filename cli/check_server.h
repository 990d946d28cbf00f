// Checks the certificates of a TLS server.
#pragma once

#include <functional>
#include <vector>

#include "cli/check.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

/// Asks about one certificate and fills the result, except its label.
using CertificateCheck = std::function<void(const CheckOptions&, const RunInputs&, Input, CheckResult&)>;

/// Appends the results for options.server to `results`, with the staple in that of the server's own certificate, and
/// passes each to `done`. A server that cannot be reached is a result with an error. The certificates that it sends
/// complete chains and are never roots. Throws InputError for an address or name that cannot be used, before anything
/// is sent.
void checkServer(const CheckOptions& options, const RunInputs& inputs, const CertificateCheck& check,
                 const ResultUse& done, std::vector<CheckResult>& results);

}  // namespace tallow::cli
