#include "client/policy/request_checks.h"

#include "client/policy/policy_settings.h"
#include "foundation/trace.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

Refusal refusalOf(const CRequestPolicy& policy, const RequestTraits& request) {
    if (request.useNonce && policy.DisableNonce) {
        return {settings::DisableNonce.name, status::kOptionAgainstPolicy};
    }
    if (!request.useNonce && policy.RequireNonce) {
        return {settings::RequireNonce.name, status::kOptionAgainstPolicy};
    }
    if (policy.DisableUnsignedRequests && !request.isSigned) {
        return {settings::DisableUnsignedRequests.name, status::kUnsignedRefused};
    }
    if (policy.DisableSignedRequests && request.isSigned) {
        return {settings::DisableSignedRequests.name, status::kSignedRefused};
    }
    if (request.useAcceptableResponses && policy.DisableAcceptResp) {
        return {settings::DisableAcceptResp.name, status::kOptionAgainstPolicy};
    }
    if (!request.useAcceptableResponses && policy.RequireAcceptResp) {
        return {settings::RequireAcceptResp.name, status::kOptionAgainstPolicy};
    }
    return {};
}

void checkPolicies(const CRequestPolicy& policy, const RequestTraits& request) {
    TALLOW_TRACE("CheckPolicies", "Checking policies...\n");
    throwRefusal(refusalOf(policy, request));
    TALLOW_TRACE("CheckPolicies", "Checking policies... OK.\n");
}

}  // namespace Orvane::PKI::OCSP::Client
