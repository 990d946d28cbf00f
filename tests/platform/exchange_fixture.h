// For tests of exchanges: the scope of one check.
#pragma once

#include <gtest/gtest.h>

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

}  // namespace testkit
