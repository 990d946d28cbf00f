#include "cli/answer.h"

#include "cli/certificate_text.h"
#include "client/policy/request_policy.h"
#include "client/policy/response_policy.h"
#include "handles/status.h"

namespace tallow::cli {

using Orvane::CDateTime;
using Orvane::PKI::OCSP::CCertStatus;
using Orvane::PKI::OCSP::Client::CRequestPolicy;
using Orvane::PKI::OCSP::Client::CResponse;
using Orvane::PKI::OCSP::Client::thisUpdateLimit;

CertificateState stateOf(CCertStatus::Type status) {
    switch (status) {
        case CCertStatus::kGood:
            return CertificateState::kGood;
        case CCertStatus::kRevoked:
            return CertificateState::kRevoked;
        default:
            return CertificateState::kUnknown;
    }
}

void describeEntry(CResponse const& response, unsigned long index, CheckResult& result) {
    const CDateTime producedAt = response.get_ProducedAt();
    const CDateTime thisUpdate = response.get_SRThisUpdate(index);
    result.producedAt = iso8601(&producedAt);
    result.thisUpdate = iso8601(&thisUpdate);
    result.nextUpdate = iso8601(response.get_SRNextUpdate(index));
    result.revocationTime = iso8601(response.get_SRRevTime(index));
    result.revocationReason = reasonText(response.get_SRRevReason(index));
}

std::int32_t holdAgainstClock(CResponse const& response, unsigned long index) {
    if (response.get_SRHistoricalRequest(index) != nullptr) {
        return status::kOk;
    }
    const CRequestPolicy policy;
    const CDateTime now = CDateTime::Now();
    const CDateTime thisUpdate = response.get_SRThisUpdate(index);
    const long long accuracySeconds = policy.ResponseAccuracy / 1000;
    if (accuracySeconds > 0 && thisUpdate.getTime() > now.getTime() + accuracySeconds) {
        return status::kNotCurrent;
    }
    if (const CDateTime* nextUpdate = response.get_SRNextUpdate(index); nextUpdate != nullptr && *nextUpdate <= now) {
        return status::kNotCurrent;
    }
    return thisUpdate < thisUpdateLimit(policy.ThisUpdateAccuracy, policy.ThisUpdateAccuracyUnits, now)
               ? status::kThisUpdateTooOld
               : status::kOk;
}

}  // namespace tallow::cli
