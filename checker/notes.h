// What the Crypto service tells while a call runs, kept for messages. It decides nothing. Private to the library.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "checker/chain_notes.h"
#include "checker/checker.h"
#include "platform/crypto/crypto_service.h"

namespace tallow {

/// Begins the reason of a download that the proxy refused or could not make.
constexpr const char* kProxyFailed = "the proxy failed: ";

/// The notes of one call. Bounded: hostile certificates can cause many.
class Notes {
public:
    /// PFN_CRYPTO_ON_NOTE; `context` is the object.
    static void take(void* context, const CRYPTO_NOTE* note) noexcept;

    const std::vector<Download>& downloads() const { return downloads_; }
    std::vector<Download> takeDownloads() noexcept { return std::move(downloads_); }

    /// The last chain since startChain.
    const ChainNotes& chain() const { return chain_; }
    void startChain() { chain_ = ChainNotes(); }

    /// The failure of the last exchange with a responder in words of the network or TLS library; empty for none.
    const std::string& exchangeFailure() const { return exchangeFailure_; }
    /// Whether the proxy failed in that exchange.
    bool hasProxyFailed() const { return hasProxyFailed_; }
    /// The HTTP status of that exchange, also that of a proxy that refused to connect; 0 for none.
    int exchangeStatus() const { return exchangeStatus_; }
    /// Whether memory was missing for something that was told: what the notes show may then be wrong.
    bool isIncomplete() const { return isIncomplete_; }
    /// Before an exchange: what was told about the one before does not count for it.
    void beginExchange();

private:
    void takeDownload(const CRYPTO_NOTE& note);

    std::vector<Download> downloads_;
    ChainNotes chain_;
    std::string exchangeFailure_;
    bool hasProxyFailed_ = false;
    int exchangeStatus_ = 0;
    bool isIncomplete_ = false;
};

}  // namespace tallow
