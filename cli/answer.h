// What one entry of a response says, as part of a result.
#pragma once

#include "cli/check_result.h"
#include "client/response/response.h"

namespace tallow::cli {

CertificateState stateOf(Orvane::PKI::OCSP::CCertStatus::Type status);

/// Writes the times, and why and since when a certificate is revoked, into the result.
void describeEntry(Orvane::PKI::OCSP::Client::CResponse const& response, unsigned long index, CheckResult& result);

/// Holds the entry against the clock, as policy says: 0, kNotCurrent when its nextUpdate has passed or its thisUpdate
/// lies ahead, kThisUpdateTooOld. The library looks at the first and the last while it asks, and never at the second: a
/// responder whose clock is fast would have the last word for days. An answer about an earlier time passes.
std::int32_t holdAgainstClock(Orvane::PKI::OCSP::Client::CResponse const& response, unsigned long index);

}  // namespace tallow::cli
