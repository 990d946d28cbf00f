// The network rules for all work of a command on one certificate or message.
#pragma once

#include <string>

#include "client/request/request.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

/// During its lifetime, downloads of the calling thread use the proxy of the request, or are skipped where policy
/// refuses that proxy; and finding issuers, asking responders and validating chains together have the time limit of one
/// check. Throws what the policy throws, and the converted last error when the rules cannot be set.
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
