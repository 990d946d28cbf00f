#include "client/shared/network_check.h"

#include <utility>

#include "foundation/trace.h"
#include "handles/last_error.h"
#include "handles/optional_services.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr std::uint32_t kDefaultMaxResponders = 8;

bool isOffered() {
    return crypto_begin_check != nullptr && crypto_end_check != nullptr;
}

}  // namespace

NetworkCheck::NetworkCheck(DownloadRules downloads, const ResponderRules& responder)
    : downloads_(std::move(downloads)) {
    record_.cMaxResponders = kDefaultMaxResponders;
    if (!isOffered()) {
        return;
    }
    record_.cbSize = sizeof record_;
    record_.dwFlags =
        (responder.isNamed ? CRYPTO_CHECK_ADDRESS_NAMED : 0) | (downloads_.mayDownload ? 0 : CRYPTO_CHECK_NO_DOWNLOADS);
    record_.pwszProxy = downloads_.proxy.c_str();
    record_.pwszProxyCredentials = downloads_.credentials.c_str();
    record_.dwAuthSchemes = responder.authSchemes;
    record_.dwProxyAuthSchemes = downloads_.proxyAuthSchemes;
    record_.pfnOnRedirect = responder.onRedirect;
    record_.pvOnRedirect = responder.context;
    if (!crypto_begin_check(&record_)) {
        ATL2::throwLastErrorOrFail();
    }
}

NetworkCheck::~NetworkCheck() {
    if (isOffered()) {
        crypto_end_check(&record_);
    }
}

bool isCheckOver() {
    return crypto_check_time_left != nullptr && crypto_check_time_left() == 0;
}

bool canForgetResponses() {
    return crypto_forget_response != nullptr;
}

void forgetResponse(const std::wstring& url) {
    if (!crypto_forget_response(url.c_str())) {
        TALLOW_TRACE("Send", "The answer that was refused could not be removed from the cache.\n");
    }
}

}  // namespace Orvane::PKI::OCSP::Client
