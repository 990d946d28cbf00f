// The network rules under which requests and responses use the Crypto service (crypto_begin_check).
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

/// How issuers and CRLs are downloaded: through the proxy of the request that they are needed for.
struct DownloadRules {
    std::wstring proxy;                  ///< empty: none
    std::wstring credentials;            ///< "name:password"; empty: none
    std::uint32_t proxyAuthSchemes = 0;  ///< CRYPTO_AUTH_... bits
    bool mayDownload = true;             ///< false: policy refuses the proxy, or going without one
};

/// The additional rules for one exchange with a responder.
struct ResponderRules {
    bool isNamed = false;           ///< the caller or the administrator chose the address
    std::uint32_t authSchemes = 0;  ///< CRYPTO_AUTH_... bits for a login in the address
    PFN_CRYPTO_ON_REDIRECT onRedirect = nullptr;
    void* context = nullptr;  ///< of onRedirect
};

/// Sets the rules of the calling thread until the object is destroyed. They nest; the outermost time limit applies.
/// Without effect on a service that does not offer them. Throws the converted last error when they cannot be set.
class NetworkCheck {
public:
    explicit NetworkCheck(DownloadRules downloads, const ResponderRules& responder = {});
    ~NetworkCheck();
    NetworkCheck(const NetworkCheck&) = delete;
    NetworkCheck& operator=(const NetworkCheck&) = delete;

    /// How many responders of one certificate may be asked.
    std::uint32_t maxResponders() const { return record_.cMaxResponders; }
    /// How many downloads were skipped so far because a limit was reached.
    std::uint32_t skippedDownloads() const { return record_.cSkippedDownloads; }
    /// Whether the last retrieval was answered by the cache.
    bool answeredFromCache() const { return record_.fAnsweredFromCache != FALSE; }

private:
    DownloadRules downloads_;
    CRYPTO_CHECK record_{};
};

/// A NetworkCheck if there are rules, else nothing: the service then follows its own settings.
class OptionalNetworkCheck {
public:
    explicit OptionalNetworkCheck(const std::optional<DownloadRules>& rules) {
        if (rules) {
            check_.emplace(*rules);
        }
    }

private:
    std::optional<NetworkCheck> check_;
};

/// Whether the check of this thread has used up its time.
[[nodiscard]] bool isCheckOver();

/// Whether the service can remove an answer from its cache.
[[nodiscard]] bool canForgetResponses();
/// Removes the cached answer to a retrieval, if there is one. Only when canForgetResponses().
void forgetResponse(const std::wstring& url);

}  // namespace Orvane::PKI::OCSP::Client
