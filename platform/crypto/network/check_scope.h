// What the check of the calling thread means for the network: crypto_begin_check in crypto_service.h.
#pragma once

#include <chrono>
#include <string>

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/base/current_check.h"

namespace tallow::platform {

// The deadline of the check of this thread; the end of time outside of one.
std::chrono::steady_clock::time_point checkDeadline() noexcept;

// The time limit that ends the check of this thread, for messages.
struct CheckTime {
    long limitMs = 0;
    bool isOfSettings = false;  // check_timeout_ms, not a program's own limit
};
CheckTime checkTime() noexcept;

// An issuer's certificate that the check of this thread downloaded earlier; null when there is none, and where
// downloads are forbidden. Its chains need the same issuers, and without a cache each would download them again. Valid
// until the next call of keepDownload, or the end of the outermost check, which forgets all.
const Bytes* downloadOfCheck(const std::string& url) noexcept;
// Keeps at most 1 MiB for a check, and nothing outside of one.
void keepDownload(const std::string& url, const Bytes& body);

// The proxy for downloads of issuers and CRLs: that of the check, else the policy's DefaultProxy.
struct DownloadProxy {
    bool mayDownload = false;  // false: policy permits neither this proxy nor going without one
    std::string address;       // empty: none
    std::string credentials;   // "name:password"; empty: none
    DWORD authSchemes = 0;     // CRYPTO_AUTH_... bits
};
DownloadProxy downloadProxy();

}  // namespace tallow::platform
