// Why there is no trusted answer, in words: which responder, which step, what happened, what to do.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/check_result.h"
#include "cli/rejection.h"
#include "client/request/request.h"

namespace tallow::cli {

/// Explains a failure that no responder had a part in; `step` says what was being done, "building the request".
CheckError explain(std::int32_t code, const std::string& step);

/// Explains what a rule objects to.
CheckError explain(const Rejection& rejection);

/// The same without the step.
std::string reasonOf(const Rejection& rejection);

/// A response that a rule of the command rejected, for the attempt that brought it.
struct RejectedResponse {
    std::wstring address;
    Rejection rejection;
};

/// Explains a failed Send. `code` is what it failed with, 0 when it failed with nothing: the refusal of the attempt
/// that came closest to an answer counts then. `rejected` says more of the attempts in which a rule had the last word.
CheckError explainSend(std::int32_t code, const Orvane::PKI::OCSP::Client::CRequest& request,
                       const std::vector<RejectedResponse>& rejected = {});

/// Explains the exception that is being handled, as explain does; only inside of a catch. A settings file that was
/// found wrong on the way is told with line and column.
CheckError explainCaught(const std::string& step);

/// "0xC2110121"
std::string codeText(std::int32_t code);

}  // namespace tallow::cli
