// The check of a request against the request policy that needs no address.
//
//   checkPolicies(policy, {useNonce, useAcceptableResponses, isSigned});
#pragma once

#include "client/policy/request_policy.h"

namespace Orvane::PKI::OCSP::Client {

/// What the check without an address looks at.
struct RequestTraits {
    bool useNonce = false;
    bool useAcceptableResponses = false;
    bool isSigned = false;  ///< the request's signature algorithm is set
};

/// Holds a request against the policy before it is sent. Throws the first violation as ATL::CAtlException: 0xC2110104
/// for the nonce, 0xC2110111 for an unsigned, 0xC2110110 for a signed request, 0xC2110104 for acceptable responses.
void checkPolicies(const CRequestPolicy& policy, const RequestTraits& request);

}  // namespace Orvane::PKI::OCSP::Client
