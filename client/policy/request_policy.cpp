#include "client/policy/request_policy.h"

#include "client/policy/policy_settings.h"
#include "foundation/trace.h"

namespace Orvane::PKI::OCSP::Client {

// The order of reading shows in a trace and is kept for those who compare traces; it is not that of the fields.
CRequestPolicy::CRequestPolicy() {
    TALLOW_TRACE("CRequestPolicy", "Loading GP...\n");
    load(CertIDHashAlg, settings::CertIDHashAlg);
    load(CertsToInclude, settings::CertsToInclude);
    load(ThisUpdateAccuracyUnits, settings::ThisUpdateAccuracyUnits);
    load(ThisUpdateAccuracy, settings::ThisUpdateAccuracy);
    load(ResponseAccuracy, settings::ResponseAccuracy);
    load(NonceLength, settings::NonceLength);
    load(AuthTypeDefault, settings::AuthTypeDefault);
    load(AuthSSLTypeDefault, settings::AuthSSLTypeDefault);
    load(ProxyAuthTypeDefault, settings::ProxyAuthTypeDefault);
    load(ProxyAuthSSLTypeDefault, settings::ProxyAuthSSLTypeDefault);
    load(DisableUnsignedRequests, settings::DisableUnsignedRequests);
    load(DisableSignedRequests, settings::DisableSignedRequests);
    load(DisableNonce, settings::DisableNonce);
    load(RequireNonce, settings::RequireNonce);
    load(UseNonceByDefault, settings::UseNonceByDefault);
    load(DisableAcceptResp, settings::DisableAcceptResp);
    load(RequireAcceptResp, settings::RequireAcceptResp);
    load(UseAcceptRespByDefault, settings::UseAcceptRespByDefault);
    load(AuthSSLDenyAnonym, settings::AuthSSLDenyAnonym);
    load(AuthSSLDenyBasic, settings::AuthSSLDenyBasic);
    load(AuthSSLDenyDigest, settings::AuthSSLDenyDigest);
    load(AuthSSLDenyNTLM, settings::AuthSSLDenyNTLM);
    load(AuthSSLDenyNegotiate, settings::AuthSSLDenyNegotiate);
    load(AuthDenyAnonym, settings::AuthDenyAnonym);
    load(AuthDenyBasic, settings::AuthDenyBasic);
    load(AuthDenyDigest, settings::AuthDenyDigest);
    load(AuthDenyNTLM, settings::AuthDenyNTLM);
    load(AuthDenyNegotiate, settings::AuthDenyNegotiate);
    load(ProxyAuthSSLDenyAnonym, settings::ProxyAuthSSLDenyAnonym);
    load(ProxyAuthSSLDenyBasic, settings::ProxyAuthSSLDenyBasic);
    load(ProxyAuthSSLDenyDigest, settings::ProxyAuthSSLDenyDigest);
    load(ProxyAuthSSLDenyNTLM, settings::ProxyAuthSSLDenyNTLM);
    load(ProxyAuthSSLDenyNegotiate, settings::ProxyAuthSSLDenyNegotiate);
    load(ProxyAuthDenyAnonym, settings::ProxyAuthDenyAnonym);
    load(ProxyAuthDenyBasic, settings::ProxyAuthDenyBasic);
    load(ProxyAuthDenyDigest, settings::ProxyAuthDenyDigest);
    load(ProxyAuthDenyNTLM, settings::ProxyAuthDenyNTLM);
    load(ProxyAuthDenyNegotiate, settings::ProxyAuthDenyNegotiate);
    load(DefaultOCSPURL, settings::DefaultOCSPURL);
    load(DefaultProxy, settings::DefaultProxy);
    load(AllowedOCSPs, settings::AllowedOCSPs);
    load(DeniedOCSPs, settings::DeniedOCSPs);
    load(AllowedProxies, settings::AllowedProxies);
}

}  // namespace Orvane::PKI::OCSP::Client
