// Attempts and verdicts in words. Private to the library.
#pragma once

#include <string>

#include "checker/checker.h"
#include "checker/rules/rejection.h"
#include "client/request/request.h"

namespace tallow {

/// An attempt that the library recorded. `rejection`: why its answer was rejected; null when there was no answer.
Attempt attemptOf(const Orvane::PKI::OCSP::Client::CRequest::Attempt& attempt, const rules::Rejection* rejection);

/// Why no responder gave a verified answer: the attempts with their reasons, in one line. At least one attempt.
std::string causeOf(const std::vector<Attempt>& attempts);

}  // namespace tallow
