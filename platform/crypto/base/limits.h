// The bounds of the Crypto service's work, each a setting of the table [crypto] with a default. A value outside its
// range is ignored, so that no setting can switch a bound off.
#pragma once

#include <cstddef>

namespace tallow::platform {

// Of one exchange over HTTP, redirects included.
struct ExchangeLimits {
    long connectTimeoutMs = 5000;          // connect_timeout_ms
    long deadlineMs = 15000;               // exchange_timeout_ms: all hops together
    std::size_t maxBodySize = 1 << 20;     // max_response_bytes: octets of the body, before anything is decoded
    std::size_t maxHeaderSize = 64 << 10;  // max_header_bytes: octets of the header lines of one hop
    long maxRedirects = 3;                 // max_redirects
};
ExchangeLimits exchangeLimits();

// Of one chain, all its certificates together.
struct ChainLimits {
    long fetchTimeoutMs = 15000;              // chain_fetch_timeout_ms: all downloads together
    long maxFetches = 8;                      // max_chain_fetches: issuer certificates and CRLs together
    std::size_t maxCrlSize = 16 << 20;        // max_crl_bytes
    long maxCrlAgeSeconds = 0;                // max_crl_age: since thisUpdate; 0: nextUpdate alone decides
    long crlCacheMaxAgeSeconds = 24L * 3600;  // crl_cache_max_age: until a downloaded CRL is asked for again
};
ChainLimits chainLimits();

// Of one check: everything that one Send does, verification included.
struct CheckLimits {
    long timeoutMs = 60000;      // check_timeout_ms: all attempts, redirects and downloads together
    unsigned maxResponders = 8;  // max_responders: addresses of one certificate that are asked
};
CheckLimits checkLimits();

// Whether loopback and private addresses are refused where only a certificate or a redirect names them:
// refuse_private_addresses, default false. True while the settings are broken.
bool refusesPrivateAddresses();

// Whether signatures made with SHA-1 are accepted: accept_sha1, default false.
bool acceptsSha1();

}  // namespace tallow::platform
