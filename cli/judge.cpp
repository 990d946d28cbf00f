#include "cli/judge.h"

#include "cli/answer.h"
#include "cli/safe_text.h"
#include "client/policy/address_text.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::CResponse;
using Orvane::PKI::OCSP::Client::withoutCredentials;

Judge::Judge(CRequest& request, void* store, CheckResult& result)
    : request_(request), stores_{store}, verifier_(request, stores_, 1), result_(result) {}

std::int32_t Judge::OnResponse(CResponse const& response) {
    try {
        std::int32_t verdict = verifier_.OnResponse(response);
        if (verdict == status::kOk || verdict == status::kCertificateUnknown) {
            const std::int32_t clock = holdAgainstClock(response, entryIn(response));
            verdict = clock == status::kOk ? verdict : clock;
        }
        if (verdict == status::kOk) {
            accept(CertificateState::kGood, response);
        } else if (verdict == status::kCertificateUnknown) {
            accept(CertificateState::kUnknown, response);
        }
        return verdict;
    } catch (ATL::CAtlException const& verdict) {
        if (verdict.status() == status::kCertificateRevoked) {
            accept(CertificateState::kRevoked, response);
        }
        throw;
    }
}

unsigned long Judge::entryIn(CResponse const& response) const {
    return response.get_SRIndexByCertID(request_.get_SRCertID(0));
}

// After "unknown" the next responder is asked, and what that one knows outweighs it; nothing else is followed by a
// further answer.
void Judge::accept(CertificateState state, CResponse const& response) {
    result_.responder = utf8(withoutCredentials(request_.get_OCSPAddress()));
    describeEntry(response, entryIn(response), result_);
    result_.state = state;
    accepted_ = true;
}

}  // namespace tallow::cli
