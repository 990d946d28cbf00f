#include "client/policy/request_checks.h"

#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

void checkPolicies(const CRequestPolicy& policy, const RequestTraits& request) {
    TALLOW_TRACE("CheckPolicies", "Checking policies...\n");
    if (request.useNonce ? policy.DisableNonce : policy.RequireNonce) {
        ATL::AtlThrowImpl(status::kOptionAgainstPolicy);
    }
    if (policy.DisableUnsignedRequests && !request.isSigned) {
        ATL::AtlThrowImpl(status::kUnsignedRefused);
    }
    if (policy.DisableSignedRequests && request.isSigned) {
        ATL::AtlThrowImpl(status::kSignedRefused);
    }
    if (request.useAcceptableResponses ? policy.DisableAcceptResp : policy.RequireAcceptResp) {
        ATL::AtlThrowImpl(status::kOptionAgainstPolicy);
    }
    TALLOW_TRACE("CheckPolicies", "Checking policies... OK.\n");
}

}  // namespace Orvane::PKI::OCSP::Client
