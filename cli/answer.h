// One entry of a response as part of a result.
#pragma once

#include "cli/check_result.h"
#include "client/response/response.h"

namespace tallow::cli {

CertificateState stateOf(Orvane::PKI::OCSP::CCertStatus::Type status);

/// Writes the times, and the time and reason of a revocation, into the result.
void describeEntry(const Orvane::PKI::OCSP::Client::CResponse& response, unsigned long index, CheckResult& result);

}  // namespace tallow::cli
