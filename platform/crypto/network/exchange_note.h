// Tells the check of this thread what an exchange or a download gave: CRYPTO_NOTE_DOWNLOAD in crypto_records.h. Nothing
// is decided by it, and without a listener it costs nothing.
#pragma once

#include <chrono>
#include <string>

#include "platform/crypto/network/http_exchange.h"

namespace tallow::platform {

// The last error for an HTTP status other than 200.
DWORD errorOfStatus(long status) noexcept;

// The end of an exchange over the network. `purpose` is a CRYPTO_NOTE_FOR_... number.
void noteExchange(DWORD purpose, const std::string& url, const HttpAnswer& answer,
                  std::chrono::steady_clock::time_point start);
// Something was found in the cache.
void noteCached(DWORD purpose, const std::string& url);
// An exchange goes over a connection that was open already: this is only traced.
void noteReuse(const std::string& server);
// The network was not used.
void noteSkipped(DWORD purpose, const std::string& url, DWORD error, const std::string& reason);

}  // namespace tallow::platform
