#include "client/policy/address_masks.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "client/policy/address_text.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {
namespace {

constexpr std::wstring_view kHttps = L"https://";
constexpr std::wstring_view kHttp = L"http://";

using Word = CGPBool CRequestPolicy::*;

// The setting that refuses one way of authenticating, for each kind of server.
struct DeniedAuthType {
    long authType;
    Word httpsResponder;
    Word httpResponder;
    Word httpsProxy;
    Word httpProxy;
};

using P = CRequestPolicy;
constexpr std::array<DeniedAuthType, 5> kDeniedAuthTypes = {{
    {kAuthTypeAnonymous, &P::AuthSSLDenyAnonym, &P::AuthDenyAnonym, &P::ProxyAuthSSLDenyAnonym,
     &P::ProxyAuthDenyAnonym},
    {kAuthTypeBasic, &P::AuthSSLDenyBasic, &P::AuthDenyBasic, &P::ProxyAuthSSLDenyBasic, &P::ProxyAuthDenyBasic},
    {kAuthTypeDigest, &P::AuthSSLDenyDigest, &P::AuthDenyDigest, &P::ProxyAuthSSLDenyDigest, &P::ProxyAuthDenyDigest},
    {kAuthTypeNtlm, &P::AuthSSLDenyNTLM, &P::AuthDenyNTLM, &P::ProxyAuthSSLDenyNTLM, &P::ProxyAuthDenyNTLM},
    {kAuthTypeNegotiate, &P::AuthSSLDenyNegotiate, &P::AuthDenyNegotiate, &P::ProxyAuthSSLDenyNegotiate,
     &P::ProxyAuthDenyNegotiate},
}};

bool isAuthDenied(const CRequestPolicy& policy, Word DeniedAuthType::*kind, long authType) {
    return std::any_of(kDeniedAuthTypes.begin(), kDeniedAuthTypes.end(),
                       [&](const DeniedAuthType& row) { return row.authType == authType && policy.*(row.*kind); });
}

// The scheme of an address is compared exactly, case included; no setting applies to an address of another form.
bool isAuthDenied(const CRequestPolicy& policy, std::wstring_view address, long authType, Word DeniedAuthType::*https,
                  Word DeniedAuthType::*http) {
    return address.starts_with(kHttps)  ? isAuthDenied(policy, https, authType)
           : address.starts_with(kHttp) ? isAuthDenied(policy, http, authType)
                                        : false;
}

bool isProxyAuthDenied(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    return isAuthDenied(policy, exchange.proxyAddress, exchange.proxyAuthType, &DeniedAuthType::httpsProxy,
                        &DeniedAuthType::httpProxy);
}

// Applies also when no proxy is used: with the list set, an exchange without one is refused unless the
// list contains the empty text. So the list can also force a proxy.
bool isProxyListed(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    return !policy.AllowedProxies.setted() || policy.AllowedProxies.Find(exchange.proxyAddress);
}

}  // namespace

void checkHttpPolicies(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    TALLOW_TRACE("CheckPolicies", "Checking HTTP policies...\n");
    if (policy.AllowedOCSPs.setted() && !policy.AllowedOCSPs.Find(exchange.ocspAddress)) {
        ATL::AtlThrowImpl(status::kAddressRefused);
    }
    if (policy.DeniedOCSPs.setted() && policy.DeniedOCSPs.Find(exchange.ocspAddress)) {
        ATL::AtlThrowImpl(status::kAddressRefused);
    }
    if (!isProxyListed(policy, exchange)) {
        ATL::AtlThrowImpl(status::kAddressRefused);
    }
    if (isAuthDenied(policy, exchange.ocspAddress, exchange.ocspAuthType, &DeniedAuthType::httpsResponder,
                     &DeniedAuthType::httpResponder)) {
        ATL::AtlThrowImpl(status::kResponderAuthRefused);
    }
    if (isProxyAuthDenied(policy, exchange)) {
        ATL::AtlThrowImpl(status::kProxyAuthRefused);
    }
    TALLOW_TRACE("CheckPolicies", "Checking HTTP policies... OK.\n");
}

void checkRedirectPolicies(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    checkHttpPolicies(policy, exchange);
    const std::wstring target = normalForm(exchange.ocspAddress);
    for (const std::wstring& denied : policy.DeniedOCSPs.values()) {
        if (normalForm(denied) == target) {
            ATL::AtlThrowImpl(status::kAddressRefused);
        }
    }
}

bool mayUseProxy(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    return isProxyListed(policy, exchange) && !isProxyAuthDenied(policy, exchange);
}

std::uint32_t permittedAuthSchemes(const CRequestPolicy& policy, const wchar_t* address, bool isProxy) {
    const bool isHttps = normalForm(address).starts_with(kHttps);
    Word DeniedAuthType::*const kind = isProxy   ? (isHttps ? &DeniedAuthType::httpsProxy : &DeniedAuthType::httpProxy)
                                       : isHttps ? &DeniedAuthType::httpsResponder
                                                 : &DeniedAuthType::httpResponder;
    std::uint32_t schemes = 0;
    for (const DeniedAuthType& row : kDeniedAuthTypes) {
        schemes |= policy.*(row.*kind) ? 0 : static_cast<std::uint32_t>(row.authType);
    }
    return schemes;
}

bool beginsWithHttps(const wchar_t* address) noexcept {
    return std::wstring_view(address).starts_with(kHttps);
}

}  // namespace Orvane::PKI::OCSP::Client
