#include "cli/network_scope.h"

#include "client/policy/address_masks.h"
#include "client/policy/request_policy.h"
#include "handles/exception.h"

namespace tallow::cli {

using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::CRequestPolicy;

NetworkScope::NetworkScope(const CRequest& request) : proxy_(request.get_ProxyAddress()) {
    const CRequestPolicy policy;
    const bool mayDownload = mayUseProxy(
        policy, {.proxyAddress = proxy_.c_str(), .proxyAuthType = static_cast<long>(request.get_ProxyAuthType())});
    record_.cbSize = sizeof record_;
    record_.dwFlags = mayDownload ? 0 : CRYPTO_CHECK_NO_DOWNLOADS;
    record_.pwszProxy = proxy_.c_str();
    record_.pwszProxyCredentials = L"";  // a command takes them from the address
    record_.dwProxyAuthSchemes = permittedAuthSchemes(policy, proxy_.c_str(), true);
    if (!crypto_begin_check(&record_)) {
        ATL::AtlThrowLastWin32();
    }
}

}  // namespace tallow::cli
