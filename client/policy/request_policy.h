// What an administrator prescribes about requests: defaults of a new one, what it may and must contain, where it may
// go.
#pragma once

#include "client/policy/policy_values.h"
#include "export.h"

namespace Orvane::PKI::OCSP::Client {

/// Plain values, each read from the key of its name under \config\cades\ocsppolicy\ by the constructor. Never changed
/// by the library, so any number of threads may read one object.
struct TALLOW_EXPORT CRequestPolicy {
    /// Reads all keys; throws what their Load throws.
    CRequestPolicy();

    CGPString CertIDHashAlg;            ///< hash OID for the certID, up to the first blank; empty: no choice
    CGPLong CertsToInclude;             ///< what CertsFromPolicy means when signing; default -1, none
    CGPBool DisableNonce;               ///< a request with a nonce is refused
    CGPBool RequireNonce;               ///< a request without a nonce is refused
    CGPLong NonceLength;                ///< octets of a made nonce; default 8
    CGPBool UseNonceByDefault;          ///< whether a new request has a nonce; default true
    CGPBool DisableAcceptResp;          ///< a request with acceptable responses is refused
    CGPBool RequireAcceptResp;          ///< a request without them is refused
    CGPBool UseAcceptRespByDefault;     ///< whether a new request has them; default false
    CGPBool DisableUnsignedRequests;    ///< an unsigned request is refused
    CGPBool DisableSignedRequests;      ///< a signed request is refused
    CGPLong ResponseAccuracy;           ///< window of producedAt in milliseconds, 0 for none; default 180000
    CGPLong ThisUpdateAccuracyUnits;    ///< how many intervals old thisUpdate may be; default 7
    CGPString ThisUpdateAccuracy;       ///< the interval's letter as DateAddW takes it; default empty, days
    CGPString DefaultOCSPURL;           ///< responder address of a new request, and the last candidate
    CGPStrings AllowedOCSPs;            ///< if set, the responder's address must be in it
    CGPStrings DeniedOCSPs;             ///< if set, the responder's address must not be in it
    CGPString DefaultProxy;             ///< proxy address of a new request
    CGPStrings AllowedProxies;          ///< if set, the proxy address must be in it, the empty one too
    CGPLong AuthTypeDefault;            ///< OCSPAuthType for an address that does not begin with "https://"; default 0
    CGPLong AuthSSLTypeDefault;         ///< OCSPAuthType for one that does; default 0
    CGPBool AuthSSLDenyAnonym;          ///< responder by HTTPS, scheme 0 refused
    CGPBool AuthSSLDenyBasic;           ///< responder by HTTPS, scheme 1 refused
    CGPBool AuthSSLDenyDigest;          ///< responder by HTTPS, scheme 8 refused
    CGPBool AuthSSLDenyNTLM;            ///< responder by HTTPS, scheme 2 refused
    CGPBool AuthSSLDenyNegotiate;       ///< responder by HTTPS, scheme 16 refused
    CGPBool AuthDenyAnonym;             ///< responder by HTTP, scheme 0 refused
    CGPBool AuthDenyBasic;              ///< responder by HTTP, scheme 1 refused
    CGPBool AuthDenyDigest;             ///< responder by HTTP, scheme 8 refused
    CGPBool AuthDenyNTLM;               ///< responder by HTTP, scheme 2 refused
    CGPBool AuthDenyNegotiate;          ///< responder by HTTP, scheme 16 refused
    CGPLong ProxyAuthTypeDefault;       ///< ProxyAuthType for an address that does not begin with "https://"; default 0
    CGPLong ProxyAuthSSLTypeDefault;    ///< ProxyAuthType for one that does; default 0
    CGPBool ProxyAuthSSLDenyAnonym;     ///< proxy by HTTPS, scheme 0 refused
    CGPBool ProxyAuthSSLDenyBasic;      ///< proxy by HTTPS, scheme 1 refused
    CGPBool ProxyAuthSSLDenyDigest;     ///< proxy by HTTPS, scheme 8 refused
    CGPBool ProxyAuthSSLDenyNTLM;       ///< proxy by HTTPS, scheme 2 refused
    CGPBool ProxyAuthSSLDenyNegotiate;  ///< proxy by HTTPS, scheme 16 refused
    CGPBool ProxyAuthDenyAnonym;        ///< proxy by HTTP, scheme 0 refused
    CGPBool ProxyAuthDenyBasic;         ///< proxy by HTTP, scheme 1 refused
    CGPBool ProxyAuthDenyDigest;        ///< proxy by HTTP, scheme 8 refused
    CGPBool ProxyAuthDenyNTLM;          ///< proxy by HTTP, scheme 2 refused
    CGPBool ProxyAuthDenyNegotiate;     ///< proxy by HTTP, scheme 16 refused
};

}  // namespace Orvane::PKI::OCSP::Client
