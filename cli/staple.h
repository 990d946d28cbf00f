// tallow staple: keeps verified responses as files for servers that staple them (RFC 6066, section 8).
#pragma once

#include <functional>

#include "cli/options.h"
#include "cli/staple_result.h"

namespace tallow::cli {

/// Called with each result as soon as it is known.
using StapleUse = std::function<void(const StapleResult&)>;

/// Asks about each certificate and replaces its response, if there is a newer one. Throws InputError, before any
/// responder is asked, for unusable input other than a certificate.
StapleReport runStaple(const StapleOptions& options, const StapleUse& done);

}  // namespace tallow::cli
