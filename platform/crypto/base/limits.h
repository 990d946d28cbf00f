// The bounds of the Crypto service's work, each a setting of the table [crypto]; platform/support/settings_table.inc
// has their defaults. A value outside of its range is ignored, so that no setting can switch a bound off.
#pragma once

#include <cstddef>

namespace tallow::platform {

// Limits of one exchange over HTTP, redirects included.
struct ExchangeLimits {
    long connectTimeoutMs = 0;
    long deadlineMs = 0;            // all hops together
    std::size_t maxBodySize = 0;    // octets of the body, before anything is decoded
    std::size_t maxHeaderSize = 0;  // octets of the header lines of one hop
    long maxRedirects = 0;
    long connectionIdleMs = 0;  // how long an idle connection to a server may be used again; 0: never
};
ExchangeLimits exchangeLimits();

// Limits of one chain, all its certificates together.
struct ChainLimits {
    long fetchTimeoutMs = 0;  // all downloads together
    long maxFetches = 0;      // issuer certificates and CRLs together
    std::size_t maxCrlSize = 0;
    long maxCrlAgeSeconds = 0;       // since thisUpdate; 0: only nextUpdate decides
    long crlCacheMaxAgeSeconds = 0;  // how long a downloaded CRL is used from the cache
};
ChainLimits chainLimits();

// Limits of one check: everything that one Send does, verification included.
struct CheckLimits {
    long timeoutMs = 0;          // all attempts, redirects and downloads together
    unsigned maxResponders = 0;  // addresses of one certificate that are asked
};
CheckLimits checkLimits();

// Whether loopback and private addresses are refused where neither the caller nor the policy named them. True while the
// settings are broken.
bool refusesPrivateAddresses();

// Whether signatures made with SHA-1 are accepted. False while the settings are broken, and in a check without the
// machine's stores: its trust is not that of the machine.
bool acceptsSha1();

}  // namespace tallow::platform
