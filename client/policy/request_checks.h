// The check of a request against the request policy that needs no address.
//
//   checkPolicies(policy, {useNonce, useAcceptableResponses, isSigned});
#pragma once

#include "client/policy/refusal.h"
#include "client/policy/request_policy.h"

namespace Orvane::PKI::OCSP::Client {

/// What the check without an address looks at.
struct RequestTraits {
    bool useNonce = false;
    bool useAcceptableResponses = false;
    bool isSigned = false;  ///< the request's signature algorithm is set
};

/// Compares a request with the policy before it is sent. The first violation: 0xC2110104 for the nonce, 0xC2110111 for
/// an unsigned, 0xC2110110 for a signed request, 0xC2110104 for acceptable responses.
[[nodiscard]] Refusal refusalOf(const CRequestPolicy& policy, const RequestTraits& request);

/// Throws that violation as ATL::CAtlException.
void checkPolicies(const CRequestPolicy& policy, const RequestTraits& request);

}  // namespace Orvane::PKI::OCSP::Client
