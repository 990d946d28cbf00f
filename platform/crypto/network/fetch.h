// Downloads that a chain may cost: issuer certificates and CRLs.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "platform/crypto/network/http_exchange.h"

namespace tallow::platform {

// What the downloads of one chain may cost together; never more than the check around it has left. Not for use from
// several threads.
class FetchAllowance {
public:
    FetchAllowance(long maxFetches, long timeoutMs);

    // Counts one download; false when none is left or the time is over.
    bool take();
    long remainingMs() const;

private:
    long fetchesLeft_;
    std::chrono::steady_clock::time_point deadline_;
};

// GET `url`, when the allowance lets it: the body of an answer with status 200, else nothing. Goes through the proxy of
// the check or of policy. `url` is taken to come from a certificate: see HttpCall::addressIsNamed.
std::optional<Bytes> fetchObject(const std::string& url, std::size_t maxSize, FetchAllowance& allowance);

}  // namespace tallow::platform
