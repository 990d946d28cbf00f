#include "client/policy/address_masks.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "client/policy/address_text.h"
#include "client/policy/policy_settings.h"
#include "foundation/trace.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {
namespace {

constexpr std::wstring_view kHttps = L"https://";
constexpr std::wstring_view kHttp = L"http://";

// A setting that refuses one way of authenticating at one kind of server.
struct Word {
    CGPBool CRequestPolicy::*value;
    const wchar_t* key;
};

// One way of authenticating: the word for each kind of server.
struct DeniedAuthType {
    long authType;
    Word httpsResponder;
    Word httpResponder;
    Word httpsProxy;
    Word httpProxy;
};

// A macro, so that a member and the name of its key cannot differ.
#define TALLOW_WORD(key) \
    { &CRequestPolicy::key, settings::key.name }
#define TALLOW_WORDS(scheme)                                                                                \
    TALLOW_WORD(AuthSSLDeny##scheme), TALLOW_WORD(AuthDeny##scheme), TALLOW_WORD(ProxyAuthSSLDeny##scheme), \
        TALLOW_WORD(ProxyAuthDeny##scheme)
constexpr std::array<DeniedAuthType, 5> kDeniedAuthTypes = {{
    {kAuthTypeAnonymous, TALLOW_WORDS(Anonym)},
    {kAuthTypeBasic, TALLOW_WORDS(Basic)},
    {kAuthTypeDigest, TALLOW_WORDS(Digest)},
    {kAuthTypeNtlm, TALLOW_WORDS(NTLM)},
    {kAuthTypeNegotiate, TALLOW_WORDS(Negotiate)},
}};
#undef TALLOW_WORDS
#undef TALLOW_WORD

using Kind = Word DeniedAuthType::*;

// The key that denies it; null when none does. The scheme of an address is compared exactly, case included; no setting
// applies to an address of another form.
const wchar_t* keyDenying(const CRequestPolicy& policy, std::wstring_view address, long authType, Kind https,
                          Kind http) {
    if (!address.starts_with(kHttps) && !address.starts_with(kHttp)) {
        return nullptr;
    }
    const Kind kind = address.starts_with(kHttps) ? https : http;
    for (const DeniedAuthType& row : kDeniedAuthTypes) {
        const Word& word = row.*kind;
        if (row.authType == authType && policy.*word.value) {
            return word.key;
        }
    }
    return nullptr;
}

const wchar_t* keyDenyingProxy(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    return keyDenying(policy, exchange.proxyAddress, exchange.proxyAuthType, &DeniedAuthType::httpsProxy,
                      &DeniedAuthType::httpProxy);
}

// Applies also when no proxy is used: with the list set, an exchange without one is refused unless the
// list contains the empty text. So the list can also force a proxy.
bool isProxyListed(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    return !policy.AllowedProxies.setted() || policy.AllowedProxies.Find(exchange.proxyAddress);
}

}  // namespace

Refusal refusalOf(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    if (policy.AllowedOCSPs.setted() && !policy.AllowedOCSPs.Find(exchange.ocspAddress)) {
        return {settings::AllowedOCSPs.name, status::kAddressRefused};
    }
    if (policy.DeniedOCSPs.setted() && policy.DeniedOCSPs.Find(exchange.ocspAddress)) {
        return {settings::DeniedOCSPs.name, status::kAddressRefused};
    }
    if (!isProxyListed(policy, exchange)) {
        return {settings::AllowedProxies.name, status::kAddressRefused};
    }
    if (const wchar_t* const key = keyDenying(policy, exchange.ocspAddress, exchange.ocspAuthType,
                                              &DeniedAuthType::httpsResponder, &DeniedAuthType::httpResponder)) {
        return {key, status::kResponderAuthRefused};
    }
    if (const wchar_t* const key = keyDenyingProxy(policy, exchange)) {
        return {key, status::kProxyAuthRefused};
    }
    return {};
}

Refusal refusalOfRedirect(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    if (const Refusal refusal = refusalOf(policy, exchange); refusal.key != nullptr) {
        return refusal;
    }
    const std::wstring target = normalForm(exchange.ocspAddress);
    for (const std::wstring& denied : policy.DeniedOCSPs.values()) {
        if (normalForm(denied) == target) {
            return {settings::DeniedOCSPs.name, status::kAddressRefused};
        }
    }
    return {};
}

void checkHttpPolicies(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    TALLOW_TRACE("CheckPolicies", "Checking HTTP policies...\n");
    throwRefusal(refusalOf(policy, exchange));
    TALLOW_TRACE("CheckPolicies", "Checking HTTP policies... OK.\n");
}

void checkRedirectPolicies(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    TALLOW_TRACE("CheckPolicies", "Checking HTTP policies...\n");
    throwRefusal(refusalOfRedirect(policy, exchange));
    TALLOW_TRACE("CheckPolicies", "Checking HTTP policies... OK.\n");
}

bool mayUseProxy(const CRequestPolicy& policy, const ExchangeTraits& exchange) {
    return isProxyListed(policy, exchange) && keyDenyingProxy(policy, exchange) == nullptr;
}

std::uint32_t permittedAuthSchemes(const CRequestPolicy& policy, const wchar_t* address, bool isProxy) {
    const bool isHttps = normalForm(address).starts_with(kHttps);
    const Kind kind = isProxy   ? (isHttps ? &DeniedAuthType::httpsProxy : &DeniedAuthType::httpProxy)
                      : isHttps ? &DeniedAuthType::httpsResponder
                                : &DeniedAuthType::httpResponder;
    std::uint32_t schemes = 0;
    for (const DeniedAuthType& row : kDeniedAuthTypes) {
        schemes |= policy.*(row.*kind).value ? 0 : static_cast<std::uint32_t>(row.authType);
    }
    return schemes;
}

bool beginsWithHttps(const wchar_t* address) noexcept {
    return std::wstring_view(address).starts_with(kHttps);
}

}  // namespace Orvane::PKI::OCSP::Client
