// The verdict on each response that a request receives.
#pragma once

#include "cli/check_result.h"
#include "client/flat/verifying_response_handler.h"
#include "client/request/request.h"
#include "client/response/response.h"

namespace tallow::cli {

/// Verifies each response with the extra certificates of the run and writes what the first trusted one says into the
/// result. A handler of its own, since after a refusal the request may go on to further responders, and what it returns
/// in the end may be an answer refused earlier: only what came through here as accepted counts.
class Judge : public Orvane::PKI::OCSP::Client::IResponseHandler {
public:
    /// All three stay the caller's and must outlive the judge.
    Judge(Orvane::PKI::OCSP::Client::CRequest& request, void* store, CheckResult& result);

    std::int32_t OnResponse(Orvane::PKI::OCSP::Client::CResponse const& response) override;

    /// Whether the result holds a proven state.
    bool accepted() const { return accepted_; }

private:
    unsigned long entryIn(Orvane::PKI::OCSP::Client::CResponse const& response) const;
    void accept(CertificateState state, Orvane::PKI::OCSP::Client::CResponse const& response);

    Orvane::PKI::OCSP::Client::CRequest& request_;
    void* stores_[1];
    Orvane::PKI::OCSP::Client::CVerifyingResponseHandler verifier_;
    CheckResult& result_;
    bool accepted_ = false;
};

}  // namespace tallow::cli
