#include "client/policy/address_masks.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {
namespace {

constexpr std::wstring_view kHttps = L"https://";
constexpr std::wstring_view kHttp = L"http://";

using Word = CGPBool CRequestPolicy::*;

// The word that refuses one way of authenticating, for each kind of server.
struct DeniedAuthType {
    long authType;
    Word httpsResponder;
    Word httpResponder;
    Word httpsProxy;
    Word httpProxy;
};

using P = CRequestPolicy;
constexpr std::array<DeniedAuthType, 5> kDeniedAuthTypes = {{
    {0, &P::AuthSSLDenyAnonym, &P::AuthDenyAnonym, &P::ProxyAuthSSLDenyAnonym, &P::ProxyAuthDenyAnonym},
    {1, &P::AuthSSLDenyBasic, &P::AuthDenyBasic, &P::ProxyAuthSSLDenyBasic, &P::ProxyAuthDenyBasic},
    {8, &P::AuthSSLDenyDigest, &P::AuthDenyDigest, &P::ProxyAuthSSLDenyDigest, &P::ProxyAuthDenyDigest},
    {2, &P::AuthSSLDenyNTLM, &P::AuthDenyNTLM, &P::ProxyAuthSSLDenyNTLM, &P::ProxyAuthDenyNTLM},
    {16, &P::AuthSSLDenyNegotiate, &P::AuthDenyNegotiate, &P::ProxyAuthSSLDenyNegotiate, &P::ProxyAuthDenyNegotiate},
}};

// The scheme of an address is read exactly, case included; an address of any other form has no words.
void checkAuthType(const CRequestPolicy& policy, std::wstring_view address, long authType, Word DeniedAuthType::*https,
                   Word DeniedAuthType::*http, std::int32_t refusal) {
    Word DeniedAuthType::*kind = nullptr;
    if (address.starts_with(kHttps)) {
        kind = https;
    } else if (address.starts_with(kHttp)) {
        kind = http;
    } else {
        return;
    }
    for (const DeniedAuthType& row : kDeniedAuthTypes) {
        if (row.authType == authType && policy.*(row.*kind)) {
            ATL::AtlThrowImpl(refusal);
        }
    }
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
    // Nobody asks whether a proxy is used at all: with the list set, an exchange without one is refused unless the list
    // holds the empty text. The list thus also forces a proxy.
    if (policy.AllowedProxies.setted() && !policy.AllowedProxies.Find(exchange.proxyAddress)) {
        ATL::AtlThrowImpl(status::kAddressRefused);
    }
    checkAuthType(policy, exchange.ocspAddress, exchange.ocspAuthType, &DeniedAuthType::httpsResponder,
                  &DeniedAuthType::httpResponder, status::kResponderAuthRefused);
    checkAuthType(policy, exchange.proxyAddress, exchange.proxyAuthType, &DeniedAuthType::httpsProxy,
                  &DeniedAuthType::httpProxy, status::kProxyAuthRefused);
    TALLOW_TRACE("CheckPolicies", "Checking HTTP policies... OK.\n");
}

bool beginsWithHttps(const wchar_t* address) noexcept {
    return std::wstring_view(address).starts_with(kHttps);
}

}  // namespace Orvane::PKI::OCSP::Client
