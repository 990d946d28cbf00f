#include "client/policy/request_policy.h"

#include "foundation/trace.h"

namespace Orvane::PKI::OCSP::Client {

// The order of reading shows in a trace and is kept for those who compare traces; it is not that of the fields.
CRequestPolicy::CRequestPolicy() {
    TALLOW_TRACE("CRequestPolicy", "Loading GP...\n");
    wchar_t sectionText[] = L"ocsppolicy";
    wchar_t* section = sectionText;
    wchar_t* reserved = nullptr;
    const auto load = [&](auto& value, const wchar_t* name, auto... rest) {
        value.Load(reserved, section, name, rest...);
    };
    load(CertIDHashAlg, L"CertIDHashAlg");
    load(CertsToInclude, L"CertsToInclude", -1L);
    load(ThisUpdateAccuracyUnits, L"ThisUpdateAccuracyUnits", 7L);
    load(ThisUpdateAccuracy, L"ThisUpdateAccuracy");
    load(ResponseAccuracy, L"ResponseAccuracy", 180000L);
    load(NonceLength, L"NonceLength", 8L);
    load(AuthTypeDefault, L"AuthTypeDefault", 0L);
    load(AuthSSLTypeDefault, L"AuthSSLTypeDefault", 0L);
    load(ProxyAuthTypeDefault, L"ProxyAuthTypeDefault", 0L);
    load(ProxyAuthSSLTypeDefault, L"ProxyAuthSSLTypeDefault", 0L);
    load(DisableUnsignedRequests, L"DisableUnsignedRequests", false);
    load(DisableSignedRequests, L"DisableSignedRequests", false);
    load(DisableNonce, L"DisableNonce", false);
    load(RequireNonce, L"RequireNonce", false);
    load(UseNonceByDefault, L"UseNonceByDefault", true);
    load(DisableAcceptResp, L"DisableAcceptResp", false);
    load(RequireAcceptResp, L"RequireAcceptResp", false);
    load(UseAcceptRespByDefault, L"UseAcceptRespByDefault", false);
    load(AuthSSLDenyAnonym, L"AuthSSLDenyAnonym", false);
    load(AuthSSLDenyBasic, L"AuthSSLDenyBasic", false);
    load(AuthSSLDenyDigest, L"AuthSSLDenyDigest", false);
    load(AuthSSLDenyNTLM, L"AuthSSLDenyNTLM", false);
    load(AuthSSLDenyNegotiate, L"AuthSSLDenyNegotiate", false);
    load(AuthDenyAnonym, L"AuthDenyAnonym", false);
    load(AuthDenyBasic, L"AuthDenyBasic", false);
    load(AuthDenyDigest, L"AuthDenyDigest", false);
    load(AuthDenyNTLM, L"AuthDenyNTLM", false);
    load(AuthDenyNegotiate, L"AuthDenyNegotiate", false);
    load(ProxyAuthSSLDenyAnonym, L"ProxyAuthSSLDenyAnonym", false);
    load(ProxyAuthSSLDenyBasic, L"ProxyAuthSSLDenyBasic", false);
    load(ProxyAuthSSLDenyDigest, L"ProxyAuthSSLDenyDigest", false);
    load(ProxyAuthSSLDenyNTLM, L"ProxyAuthSSLDenyNTLM", false);
    load(ProxyAuthSSLDenyNegotiate, L"ProxyAuthSSLDenyNegotiate", false);
    load(ProxyAuthDenyAnonym, L"ProxyAuthDenyAnonym", false);
    load(ProxyAuthDenyBasic, L"ProxyAuthDenyBasic", false);
    load(ProxyAuthDenyDigest, L"ProxyAuthDenyDigest", false);
    load(ProxyAuthDenyNTLM, L"ProxyAuthDenyNTLM", false);
    load(ProxyAuthDenyNegotiate, L"ProxyAuthDenyNegotiate", false);
    load(DefaultOCSPURL, L"DefaultOCSPURL");
    load(DefaultProxy, L"DefaultProxy");
    load(AllowedOCSPs, L"AllowedOCSPs", L"AllowedOCSPsSetted", false);
    load(DeniedOCSPs, L"DeniedOCSPs", L"DeniedOCSPsSetted", false);
    load(AllowedProxies, L"AllowedProxies", L"AllowedProxiesSetted", false);
}

}  // namespace Orvane::PKI::OCSP::Client
