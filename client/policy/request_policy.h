// What an administrator prescribes about requests, and the check of a request that needs no address.
//
//   PolicyBinding<CRequestPolicy> policy;
//   policy.bind();
//   checkPolicies(*policy, {useNonce, useAcceptableResponses, isSigned});
#pragma once

#include "client/policy/policy_reading.h"
#include "client/policy/policy_values.h"
#include "export.h"

namespace Orvane::PKI::OCSP::Client {

/// The refused ways of authenticating to one kind of server; each is a key of its own.
struct TALLOW_EXPORT DeniedAuthTypes {
    CGPBool anonym;     ///< scheme 0
    CGPBool basic;      ///< scheme 1
    CGPBool digest;     ///< scheme 8
    CGPBool ntlm;       ///< scheme 2
    CGPBool negotiate;  ///< scheme 16
};

/// Plain values, each read from the key of its name under \config\cades\ocsppolicy\ by the constructor. Never changed
/// by the library, so any number of threads may read one object.
struct TALLOW_EXPORT CRequestPolicy {
    /// Reads all keys; throws what their Load throws.
    CRequestPolicy();

    CGPString CertIDHashAlg;          ///< hash OID for the certID, up to the first blank; empty: no choice
    CGPLong CertsToInclude;           ///< what CertsFromPolicy means when signing; default -1, none
    CGPBool DisableNonce;             ///< a request with a nonce is refused
    CGPBool RequireNonce;             ///< a request without a nonce is refused
    CGPLong NonceLength;              ///< octets of a made nonce; default 8
    CGPBool UseNonceByDefault;        ///< whether a new request has a nonce; default true
    CGPBool DisableAcceptResp;        ///< a request with acceptable responses is refused
    CGPBool RequireAcceptResp;        ///< a request without them is refused
    CGPBool UseAcceptRespByDefault;   ///< whether a new request has them; default false
    CGPBool DisableUnsignedRequests;  ///< an unsigned request is refused
    CGPBool DisableSignedRequests;    ///< a signed request is refused
    CGPLong ResponseAccuracy;         ///< window of producedAt in milliseconds, 0 for none; default 180000
    CGPLong ThisUpdateAccuracyUnits;  ///< how many intervals old thisUpdate may be; default 7
    CGPString ThisUpdateAccuracy;     ///< the interval's letter as DateAddW takes it; default empty, days
    CGPString DefaultOCSPURL;         ///< responder address of a new request, and the last candidate
    CGPStrings AllowedOCSPs;          ///< if set, the responder's address must be in it
    CGPStrings DeniedOCSPs;           ///< if set, the responder's address must not be in it
    CGPString DefaultProxy;           ///< proxy address of a new request
    CGPStrings AllowedProxies;        ///< if set, the proxy address must be in it, the empty one too
    CGPLong AuthTypeDefault;          ///< OCSPAuthType for an address that does not begin with "https://"; default 0
    CGPLong AuthSSLTypeDefault;       ///< OCSPAuthType for one that does; default 0
    DeniedAuthTypes AuthSSLDeny;      ///< AuthSSLDenyAnonym, ...Basic, ...Digest, ...NTLM, ...Negotiate
    DeniedAuthTypes AuthDeny;         ///< AuthDenyAnonym and so on
    CGPLong ProxyAuthTypeDefault;     ///< ProxyAuthType for an address that does not begin with "https://"; default 0
    CGPLong ProxyAuthSSLTypeDefault;  ///< ProxyAuthType for one that does; default 0
    DeniedAuthTypes ProxyAuthSSLDeny;
    DeniedAuthTypes ProxyAuthDeny;
};

/// The process's request policy, made at the first call; null when it could not be made, then and for ever. The library
/// owns it.
[[nodiscard]] const CRequestPolicy* sharedRequestPolicy() noexcept;

/// What the check without an address looks at.
struct RequestTraits {
    bool useNonce = false;
    bool useAcceptableResponses = false;
    bool isSigned = false;  ///< the request's signature algorithm is set
};

/// Holds a request against the policy before it is sent. Throws the first violation as ATL::CAtlException: 0xC2110104
/// for the nonce, 0xC2110111 for an unsigned, 0xC2110110 for a signed request, 0xC2110104 for acceptable responses.
void checkPolicies(const CRequestPolicy& policy, const RequestTraits& request);

extern template class PolicyBinding<CRequestPolicy>;

}  // namespace Orvane::PKI::OCSP::Client
