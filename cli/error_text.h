// Why there is no verified answer, in words: responder, step, failure and remedy.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/check_result.h"
#include "cli/rejection.h"
#include "client/request/request.h"

namespace tallow::cli {

/// Explains a failure without a responder; `step` is what was being done, "building the request".
CheckError explain(std::int32_t code, const std::string& step);

/// Explains why a rule rejects.
CheckError explain(const Rejection& rejection);

/// The same without the step.
std::string reasonOf(const Rejection& rejection);

/// A response that a rule of the command rejected, with its attempt.
struct RejectedResponse {
    std::wstring address;
    Rejection rejection;
};

/// Explains a failed Send. `code` is its status; when it is 0, the attempt that came closest to an answer decides.
/// `rejected` gives details of the attempts that a rule rejected.
CheckError explainSend(std::int32_t code, const Orvane::PKI::OCSP::Client::CRequest& request,
                       const std::vector<RejectedResponse>& rejected = {});

/// Explains the current exception like explain; only inside a catch block. A settings file that was found broken on the
/// way is reported with line and column.
CheckError explainCaught(const std::string& step);

/// "0xC2110121"
std::string codeText(std::int32_t code);

}  // namespace tallow::cli
