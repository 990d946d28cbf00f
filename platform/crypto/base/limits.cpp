#include "platform/crypto/base/limits.h"

#include "platform/support/support_service.h"

namespace tallow::platform {

namespace {

template <typename Number>
void readInto(const char* path, long lowest, long highest, Number& value) {
    long setting = 0;
    if (support_registry_get_long(path, &setting) == 0 && setting >= lowest && setting <= highest) {
        value = static_cast<Number>(setting);
    }
}

constexpr long kLongestMs = 600000;
constexpr long kLargestBody = 256L << 20;
constexpr long kTenYears = 10L * 365 * 24 * 3600;

}  // namespace

ExchangeLimits exchangeLimits() {
    ExchangeLimits limits;
    readInto("\\crypto\\connect_timeout_ms", 1, kLongestMs, limits.connectTimeoutMs);
    readInto("\\crypto\\exchange_timeout_ms", 1, kLongestMs, limits.deadlineMs);
    readInto("\\crypto\\max_response_bytes", 1, kLargestBody, limits.maxBodySize);
    readInto("\\crypto\\max_header_bytes", 1, kLargestBody, limits.maxHeaderSize);
    readInto("\\crypto\\max_redirects", 0, 20, limits.maxRedirects);
    return limits;
}

ChainLimits chainLimits() {
    ChainLimits limits;
    readInto("\\crypto\\chain_fetch_timeout_ms", 1, kLongestMs, limits.fetchTimeoutMs);
    readInto("\\crypto\\max_chain_fetches", 0, 100, limits.maxFetches);
    readInto("\\crypto\\max_crl_bytes", 1, kLargestBody, limits.maxCrlSize);
    readInto("\\crypto\\max_crl_age", 1, kTenYears, limits.maxCrlAgeSeconds);
    readInto("\\crypto\\crl_cache_max_age", 0, kTenYears, limits.crlCacheMaxAgeSeconds);
    return limits;
}

CheckLimits checkLimits() {
    CheckLimits limits;
    readInto("\\crypto\\check_timeout_ms", 1, kLongestMs, limits.timeoutMs);
    readInto("\\crypto\\max_responders", 1, 100, limits.maxResponders);
    return limits;
}

bool refusesPrivateAddresses() {
    int refused = 0;
    const int result = support_registry_get_bool("\\crypto\\refuse_private_addresses", &refused);
    return result != static_cast<int>(ERROR_FILE_NOT_FOUND) && (result != 0 || refused != 0);
}

bool acceptsSha1() {
    int accepted = 0;
    return support_registry_get_bool("\\crypto\\accept_sha1", &accepted) == 0 && accepted != 0;
}

}  // namespace tallow::platform
