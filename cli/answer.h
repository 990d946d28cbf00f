// What one entry of a response says, as part of a result.
#pragma once

#include "cli/check_result.h"
#include "client/response/response.h"

namespace tallow::cli {

CertificateState stateOf(Orvane::PKI::OCSP::CCertStatus::Type status);

/// Writes the times, and why and since when a certificate is revoked, into the result.
void describeEntry(const Orvane::PKI::OCSP::Client::CResponse& response, unsigned long index, CheckResult& result);

}  // namespace tallow::cli
