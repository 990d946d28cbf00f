// The command's verdict on each response that a request receives.
#pragma once

#include <vector>

#include "cli/check_result.h"
#include "cli/entry_rules.h"
#include "cli/error_text.h"
#include "client/flat/response_handler.h"
#include "client/request/request.h"
#include "client/response/response.h"

namespace tallow::cli {

/// Applies the command's rules to each response, with the extra certificates of the run, and writes the first accepted
/// one into the result. Send may ask further responders after a rejection and finally return a response that was
/// rejected earlier: only a response that this handler accepted counts.
class Judge : public Orvane::PKI::OCSP::Client::IResponseHandler {
public:
    /// All arguments stay the caller's and must outlive the object.
    Judge(const Orvane::PKI::OCSP::Client::CRequest& request, Question question, void* store, CheckResult& result);

    /// 0 for good, kCertificateUnknown, or the code of the rule that rejects. Throws kCertificateRevoked, so that no
    /// further responder is asked.
    std::int32_t OnResponse(const Orvane::PKI::OCSP::Client::CResponse& response) override;

    /// Whether the result contains a verified status.
    bool accepted() const { return accepted_; }
    const std::vector<RejectedResponse>& rejected() const { return rejected_; }

private:
    std::variant<Finding, Rejection> verdictOn(const Orvane::PKI::OCSP::Client::CResponse& response);
    void accept(const Finding& finding, const Orvane::PKI::OCSP::Client::CResponse& response);

    const Orvane::PKI::OCSP::Client::CRequest& request_;
    Question question_;
    void* stores_[1];
    CheckResult& result_;
    bool accepted_ = false;
    std::vector<RejectedResponse> rejected_;
};

}  // namespace tallow::cli
