// Why there is no trusted answer, in words: what happened, which responder, which step, what to do.
#pragma once

#include <cstdint>

#include "cli/check_result.h"
#include "client/request/request.h"

namespace tallow::cli {

/// Explains a failure of the request (null when it could not even be made).
CheckError explain(std::int32_t code, Orvane::PKI::OCSP::Client::CRequest const* request);

/// The status of the first attempt that was refused, of those that got furthest.
std::int32_t firstRefusal(Orvane::PKI::OCSP::Client::CRequest const& request);

/// The one-line text of a status; its number when it has none.
std::string textOf(std::int32_t code);

/// "0xC2110121"
std::string codeText(std::int32_t code);

}  // namespace tallow::cli
