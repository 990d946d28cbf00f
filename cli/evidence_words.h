// What a verdict was made from, in words for people.
#pragma once

#include <string>
#include <vector>

#include "checker/checker.h"
#include "cli/check_result.h"

namespace tallow::cli {

/// "in a store"; empty for none.
std::string whereFound(IssuerSource source);
/// "named by the certificate"
std::string whoNamed(ResponderSource source);
/// "it issued the certificate"; empty for none.
std::string whyAuthorised(Authority authority);
/// "http://... (named by the certificate): accepted, HTTP 200, 12 ms"
std::string attemptText(const Attempt& attempt);
/// "CRL http://...: received, HTTP 200, 12 ms"
std::string downloadText(const Download& download);
/// What a verified response leaves open, one phrase each.
std::vector<std::string> uncheckedOf(const CheckResult& result);

}  // namespace tallow::cli
