#include "cli/judge.h"

#include <utility>

#include "cli/answer.h"
#include "cli/response_proof.h"
#include "cli/safe_text.h"
#include "client/policy/address_text.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

using Orvane::PKI::OCSP::CCertStatus;
using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::CResponse;
using Orvane::PKI::OCSP::Client::withoutCredentials;

Judge::Judge(const CRequest& request, Question question, void* store, CheckResult& result)
    : request_(request), question_(std::move(question)), stores_{store}, result_(result) {}

std::variant<Finding, Rejection> Judge::verdictOn(const CResponse& response) {
    if (std::optional<Rejection> rejection = proveResponse(response, stores_, 1).rejection) {
        return *std::move(rejection);
    }
    return findingOn(response, question_, clockOfPolicy());
}

std::int32_t Judge::OnResponse(const CResponse& response) {
    std::variant<Finding, Rejection> verdict = verdictOn(response);
    if (auto* rejection = std::get_if<Rejection>(&verdict)) {
        const std::int32_t code = rejection->code;
        rejected_.push_back({withoutCredentials(request_.get_OCSPAddress()), std::move(*rejection)});
        return code;
    }
    const Finding& finding = std::get<Finding>(verdict);
    accept(finding, response);
    switch (finding.status) {
        case CCertStatus::kGood:
            return status::kOk;
        case CCertStatus::kRevoked:
            ATL::AtlThrowImpl(status::kCertificateRevoked);
        default:
            return status::kCertificateUnknown;
    }
}

// After "unknown" the next responder is asked, and its answer replaces this one. No other status is followed by a
// further answer.
void Judge::accept(const Finding& finding, const CResponse& response) {
    result_.responder = utf8(withoutCredentials(request_.get_OCSPAddress()));
    describeEntry(response, finding.entry, result_);
    result_.state = stateOf(finding.status);
    accepted_ = true;
}

}  // namespace tallow::cli
