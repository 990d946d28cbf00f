// The OCSP response that a server staples to its certificate.
#pragma once

#include "cli/check_result.h"
#include "cli/options.h"
#include "cli/run_inputs.h"
#include "cli/server/server_certificates.h"

namespace tallow::cli {

/// What the staple proves, without the network. `verdict` is that of the check of the same certificate, which knows the
/// issuer.
Staple stapleOf(const CheckOptions& options, const RunInputs& inputs, const ServerCertificates& sent,
                const Verdict& verdict);

}  // namespace tallow::cli
