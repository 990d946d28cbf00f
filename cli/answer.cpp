#include "cli/answer.h"

#include "cli/certificate_text.h"

namespace tallow::cli {

using Orvane::CDateTime;
using Orvane::PKI::OCSP::CCertStatus;
using Orvane::PKI::OCSP::Client::CResponse;

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

void describeEntry(const CResponse& response, unsigned long index, CheckResult& result) {
    const CDateTime producedAt = response.get_ProducedAt();
    const CDateTime thisUpdate = response.get_SRThisUpdate(index);
    result.producedAt = iso8601(&producedAt);
    result.thisUpdate = iso8601(&thisUpdate);
    result.nextUpdate = iso8601(response.get_SRNextUpdate(index));
    result.revocationTime = iso8601(response.get_SRRevTime(index));
    result.revocationReason = reasonText(response.get_SRRevReason(index));
}

}  // namespace tallow::cli
