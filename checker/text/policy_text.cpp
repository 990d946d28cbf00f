#include "checker/text/policy_text.h"

#include <algorithm>
#include <string_view>

#include "checker/text/safe_text.h"
#include "client/policy/policy_binding.h"
#include "client/policy/policy_settings.h"
#include "handles/exception.h"
#include "handles/optional_services.h"
#include "handles/status.h"

namespace tallow::text {

namespace {

namespace client = Orvane::PKI::OCSP::Client;
namespace settings = client::settings;

using client::keyWithPlace;

// What a flag of the policy refuses, and the remedy.
struct Flag {
    std::wstring_view key;
    const char* refused;
    const char* remedy;
};
constexpr Flag kRequestFlags[] = {
    {settings::DisableNonce.name, "requests with a nonce", "send none"},
    {settings::RequireNonce.name, "requests without a nonce", "send one"},
    {settings::DisableUnsignedRequests.name, "unsigned requests", "sign the request"},
    {settings::DisableSignedRequests.name, "signed requests", "do not sign the request"},
    {settings::DisableAcceptResp.name, "requests that name the acceptable response types", "name none"},
    {settings::RequireAcceptResp.name, "requests that do not name the acceptable response types", "name them"},
};

std::string flagText(const std::string& refused, const wchar_t* key, const char* remedy) {
    return "policy refuses " + refused + ": " + keyWithPlace(key) + " is true; " + remedy;
}

const char* nameOf(long authType) {
    switch (authType) {
        case client::kAuthTypeAnonymous:
            return "anonymous access";
        case client::kAuthTypeBasic:
            return "basic authentication";
        case client::kAuthTypeNtlm:
            return "NTLM authentication";
        case client::kAuthTypeDigest:
            return "digest authentication";
        default:
            return "negotiate authentication";
    }
}

std::string addressText(const wchar_t* key, const client::ExchangeTraits& exchange) {
    const std::wstring_view name = key;
    if (name == settings::AllowedOCSPs.name) {
        return "policy refuses the address: it is not in " + keyWithPlace(key) +
               "; add it there, or use another responder";
    }
    if (name == settings::DeniedOCSPs.name) {
        return "policy refuses the address: it is in " + keyWithPlace(key) + "; use another responder";
    }
    if (*exchange.proxyAddress == L'\0') {
        return "policy refuses an exchange without a proxy: " + keyWithPlace(key) +
               " does not contain an empty text; use one of the proxies listed there";
    }
    return "policy refuses the proxy " + withoutLogin(utf8(exchange.proxyAddress)) + ": it is not in " +
           keyWithPlace(key) + "; use one of the proxies listed there";
}

// A login is sent to the responder only by a scheme that is not refused.
std::string loginText(const client::ExchangeTraits& exchange) {
    const bool isHttps = client::beginsWithHttps(exchange.ocspAddress);
    std::string keys;
    for (const auto& [https, http] : {std::pair(settings::AuthSSLDenyBasic, settings::AuthDenyBasic),
                                      std::pair(settings::AuthSSLDenyDigest, settings::AuthDenyDigest),
                                      std::pair(settings::AuthSSLDenyNTLM, settings::AuthDenyNTLM),
                                      std::pair(settings::AuthSSLDenyNegotiate, settings::AuthDenyNegotiate)}) {
        keys += (keys.empty() ? "" : ", ") + keyWithPlace((isHttps ? https : http).name);
    }
    return "policy refuses to send a login to the responder: " + keys + " are true; use an address without a login";
}

template <typename Traits, typename Describe>
std::string described(std::int32_t status, const Traits& traits, Describe describe) {
    try {
        client::PolicyBinding<client::CRequestPolicy> policy;
        policy.bind();
        return safeLine(describe(*policy, status, traits));
    } catch (const ATL::CAtlException&) {
        return {};  // without a policy nothing is refused by it
    }
}

}  // namespace

std::string refusedExchangeText(std::int32_t status, const client::ExchangeTraits& exchange) {
    if (status != status::kAddressRefused && status != status::kResponderAuthRefused &&
        status != status::kProxyAuthRefused) {
        return {};
    }
    return described(status, exchange, [](const client::CRequestPolicy& policy, std::int32_t code, const auto& traits) {
        const client::Refusal refusal = client::refusalOfRedirect(policy, traits);
        if (refusal.key == nullptr && code == status::kResponderAuthRefused) {
            return loginText(traits);
        }
        if (refusal.key == nullptr || refusal.status != code) {
            return std::string();
        }
        if (code == status::kAddressRefused) {
            return addressText(refusal.key, traits);
        }
        const bool isProxy = code == status::kProxyAuthRefused;
        const std::string refused = std::string(nameOf(isProxy ? traits.proxyAuthType : traits.ocspAuthType)) +
                                    (isProxy ? " to the proxy" : " to the responder");
        return flagText(refused, refusal.key, "use another address, or change the setting");
    });
}

std::string refusedRequestText(std::int32_t status, const client::RequestTraits& request) {
    if (status != status::kOptionAgainstPolicy && status != status::kSignedRefused &&
        status != status::kUnsignedRefused && status != status::kInvalidArgument) {
        return {};
    }
    return described(status, request, [](const client::CRequestPolicy& policy, std::int32_t code, const auto& traits) {
        if (code == status::kInvalidArgument) {
            const long length = policy.NonceLength;
            const bool fits = length >= settings::NonceLength.minimum && length <= settings::NonceLength.maximum;
            return fits || !traits.useNonce
                       ? std::string()
                       : keyWithPlace(settings::NonceLength.name) + " is " + std::to_string(length) + "; a nonce has " +
                             std::to_string(settings::NonceLength.minimum) + " to " +
                             std::to_string(settings::NonceLength.maximum) + " octets";
        }
        const client::Refusal refusal = client::refusalOf(policy, traits);
        if (refusal.key == nullptr || refusal.status != code) {
            return std::string();
        }
        const auto* row = std::find_if(std::begin(kRequestFlags), std::end(kRequestFlags),
                                       [&](const Flag& flag) { return flag.key == refusal.key; });
        return row == std::end(kRequestFlags) ? std::string() : flagText(row->refused, refusal.key, row->remedy);
    });
}

std::string brokenSettingsText() {
    SUPPORT_SETTINGS_ERROR error{};
    return support_settings_error == nullptr || support_settings_error(&error) == 0 ? std::string()
                                                                                    : safeLine(error.message);
}

}  // namespace tallow::text
