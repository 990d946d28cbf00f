// The network rules under which a command does all its work for one certificate or message.
#pragma once

#include <string>

#include "client/request/request.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

/// While it lives, downloads of the calling thread go through the proxy of the request, or are left out where policy
/// refuses that proxy, and everything together has the time limit of one check: looking for issuers, asking, and
/// validating chains. Throws what the policy throws, and the converted last error when the rules cannot be set.
class NetworkScope {
public:
    explicit NetworkScope(const Orvane::PKI::OCSP::Client::CRequest& request);
    ~NetworkScope() { crypto_end_check(&record_); }
    NetworkScope(const NetworkScope&) = delete;
    NetworkScope& operator=(const NetworkScope&) = delete;

private:
    std::wstring proxy_;
    CRYPTO_CHECK record_{};
};

}  // namespace tallow::cli
