// Downloads that a chain may cost: issuer certificates and CRLs.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "platform/crypto/network/http_exchange.h"

namespace tallow::platform {

// The limit on all downloads of one chain, never more than the enclosing check has left. For one thread only.
class FetchAllowance {
public:
    FetchAllowance(long maxFetches, long timeoutMs);

    // Counts one download; false when the number or the time is used up.
    bool take();
    long remainingMs() const;
    // The limit itself.
    long timeoutMs() const { return timeoutMs_; }

private:
    long fetchesLeft_;
    long timeoutMs_;
    std::chrono::steady_clock::time_point deadline_;
};

// GETs `url` if the allowance permits: the body of a response with status 200, else nothing. Uses the proxy of the
// check or of policy. `url` is treated as coming from a certificate: see HttpCall::addressIsNamed. `purpose` is a
// CRYPTO_NOTE_FOR_... number.
std::optional<Bytes> fetchObject(const std::string& url, std::size_t maxSize, FetchAllowance& allowance,
                                 DWORD purpose = CRYPTO_NOTE_FOR_ISSUER);

}  // namespace tallow::platform
