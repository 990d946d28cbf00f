// The times of a result that monitoring watches.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "checker/checker.h"
#include "cli/check_result.h"
#include "handles/cert_context.h"

namespace tallow::cli {

using Seconds = std::chrono::sys_seconds;

/// notBefore and notAfter of a certificate in DER; absent when it cannot be read.
std::optional<Seconds> startOf(Input der);
std::optional<Seconds> startOf(const ATL2::CCertContext& certificate);
std::optional<Seconds> expiryOf(Input der);
std::optional<Seconds> expiryOf(const ATL2::CCertContext& certificate);

/// Absent without a verified response, and where the response does not say.
struct Deadlines {
    std::optional<Seconds> nextUpdate;
    std::optional<Seconds> certificate;  // its expiry, whatever became of the check
    std::optional<Seconds> staple;       // nextUpdate of the verified response that the server sent
    std::optional<Seconds> responder;    // the expiry of the certificate that signed the response
    std::optional<std::chrono::milliseconds> responseTime;
};

Deadlines deadlinesOf(const CheckResult& result);

/// In its two largest units: "2 d 4 h", "0 s".
std::string spanText(std::chrono::seconds span);

}  // namespace tallow::cli
