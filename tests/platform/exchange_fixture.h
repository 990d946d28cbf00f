// For tests of exchanges: the scope of one check, and one exchange.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/crypto/crypto_service.h"
#include "tests/support/bytes.h"

namespace testkit {

// A check on this thread during the life of the object.
struct Check : CRYPTO_CHECK {
    struct Own {
        HCERTSTORE roots = nullptr;
        std::optional<FILETIME> time = std::nullopt;
        DWORD timeoutMs = 0;
    };

    explicit Check(DWORD flags = 0, const std::string& proxy = {}, DWORD schemes = CRYPTO_AUTH_ALL)
        : Check(flags, Own(), proxy, schemes) {}
    Check(DWORD flags, const Own& own, const std::string& proxy = {}, DWORD schemes = CRYPTO_AUTH_ALL)
        : CRYPTO_CHECK{}, proxyText(wide(proxy)), time(own.time) {
        cbSize = sizeof(CRYPTO_CHECK);
        dwFlags = flags;
        pwszProxy = proxyText.c_str();
        pwszProxyCredentials = L"";
        dwAuthSchemes = dwProxyAuthSchemes = schemes;
        hRoots = own.roots;
        pTime = time ? &*time : nullptr;
        dwTimeout = own.timeoutMs;
        EXPECT_TRUE(crypto_begin_check(this));
    }
    ~Check() { crypto_end_check(this); }
    Check(const Check&) = delete;
    Check& operator=(const Check&) = delete;

    std::wstring proxyText;
    std::optional<FILETIME> time;
};

struct PostResult {
    unsigned long status = 0;
    DWORD lastError = 0;
    Bytes body;
};

inline PostResult post(const std::string& url, Bytes request, const std::string& proxy = {},
                       const std::string& login = {}, const wchar_t* agent = L"agent/1",
                       const wchar_t* headers = L"Content-type: application/ocsp-request") {
    PKI_EXCHANGE_BUFFER sent{static_cast<DWORD>(request.size()), request.data(), static_cast<DWORD>(request.size())};
    PKI_EXCHANGE_BUFFER received{};
    SetLastError(0);
    PostResult result;
    result.status =
        SendPKIRequest(wide(url).c_str(), agent, headers, wide(proxy).c_str(), wide(login).c_str(), &sent, &received);
    result.lastError = GetLastError();
    const std::unique_ptr<BYTE[]> owner(received.data);
    result.body.assign(received.data, received.data + received.size);
    return result;
}

}  // namespace testkit
