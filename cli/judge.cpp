#include "cli/judge.h"

#include "cli/certificate_text.h"
#include "cli/safe_text.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::CResponse;

Judge::Judge(CRequest& request, void* store, CheckResult& result)
    : request_(request), stores_{store}, verifier_(request, stores_, 1), result_(result) {}

std::int32_t Judge::OnResponse(CResponse const& response) {
    try {
        const std::int32_t verdict = verifier_.OnResponse(response);
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

// After "unknown" the next responder is asked, and what that one knows outweighs it; nothing else is followed by a
// further answer.
void Judge::accept(CertificateState state, CResponse const& response) {
    const unsigned long index = response.get_SRIndexByCertID(request_.get_SRCertID(0));
    const Orvane::CDateTime producedAt = response.get_ProducedAt();
    const Orvane::CDateTime thisUpdate = response.get_SRThisUpdate(index);
    result_.responder = utf8(request_.get_OCSPAddress());
    result_.producedAt = iso8601(&producedAt);
    result_.thisUpdate = iso8601(&thisUpdate);
    result_.nextUpdate = iso8601(response.get_SRNextUpdate(index));
    result_.revocationTime = iso8601(response.get_SRRevTime(index));
    result_.revocationReason = reasonText(response.get_SRRevReason(index));
    result_.state = state;
    accepted_ = true;
}

}  // namespace tallow::cli
