#include "platform/crypto/network/exchange_note.h"

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/network/exchange_text.h"
#include "platform/crypto/network/http_status.h"

namespace tallow::platform {

DWORD errorOfStatus(long status) noexcept {
    switch (status) {
        case kUnauthorized:
        case kProxyAuthenticationRequired:
            return ERROR_INTERNET_LOGIN_FAILURE;
        case kForbidden:
            return ERROR_ACCESS_DENIED;
        case kNotFound:
        case kGone:
            return ERROR_FILE_NOT_FOUND;
        case kRequestTimeout:
        case kGatewayTimeout:
            return ERROR_INTERNET_TIMEOUT;
        case kBadGateway:
        case kServiceUnavailable:
            return ERROR_INTERNET_CANNOT_CONNECT;
        default:
            return ERROR_HTTP_INVALID_SERVER_RESPONSE;
    }
}

void noteExchange(DWORD purpose, const std::string& url, const HttpAnswer& answer,
                  std::chrono::steady_clock::time_point start) {
    if (!isNoted()) {
        return;
    }
    const std::string shown = withoutLogin(url);
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    const bool isRefused = answer.error == 0 && answer.status != kOk;
    CRYPTO_NOTE note{};
    note.dwKind = CRYPTO_NOTE_DOWNLOAD;
    note.dwPurpose = purpose;
    note.dwError = isRefused ? errorOfStatus(answer.status) : answer.error;
    note.szUrl = shown.c_str();
    note.szReason = answer.reason.c_str();
    note.dwHttpStatus = static_cast<DWORD>(answer.error == 0 ? answer.status : answer.connectStatus);
    note.dwMilliseconds = static_cast<DWORD>(elapsed.count());
    note.fAtProxy = answer.isAtProxy ? TRUE : FALSE;
    tell(note);
}

void noteCached(DWORD purpose, const std::string& url) {
    if (!isNoted()) {
        return;
    }
    const std::string shown = withoutLogin(url);
    CRYPTO_NOTE note{};
    note.dwKind = CRYPTO_NOTE_DOWNLOAD;
    note.dwPurpose = purpose;
    note.szUrl = shown.c_str();
    note.fFromCache = TRUE;
    tell(note);
}

void noteSkipped(DWORD purpose, const std::string& url, DWORD error, const std::string& reason) {
    if (!isNoted()) {
        return;
    }
    const std::string shown = withoutLogin(url);
    CRYPTO_NOTE note{};
    note.dwKind = CRYPTO_NOTE_DOWNLOAD;
    note.dwPurpose = purpose;
    note.dwError = error;
    note.szUrl = shown.c_str();
    note.szReason = reason.c_str();
    tell(note);
}

void noteReuse(const std::string& server) {
    TALLOW_CRYPTO_TRACE("an open connection to %s is used again\n", server.c_str());
}

}  // namespace tallow::platform
