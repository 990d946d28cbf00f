// Explains a verdict to a person.
#pragma once

#include <string>

#include "cli/check_result.h"

namespace tallow::cli {

/// One screen: the issuer, the responders, the request, the signer, its chain and CRLs, the nonce, the dates, and what
/// was not checked. Complete lines, safe for a terminal.
std::string explanationOf(const CheckResult& result);

}  // namespace tallow::cli
