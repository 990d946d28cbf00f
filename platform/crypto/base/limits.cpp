#include "platform/crypto/base/limits.h"

#include "platform/crypto/base/current_check.h"
#include "platform/support/settings_table.h"

namespace tallow::platform {

namespace {

// Only for numbers whose minimum is not negative.
std::size_t sizeOf(const setting::Number& number) {
    return static_cast<std::size_t>(numberOf(number));
}

}  // namespace

ExchangeLimits exchangeLimits() {
    return {numberOf(setting::connect_timeout_ms), numberOf(setting::exchange_timeout_ms),
            sizeOf(setting::max_response_bytes),   sizeOf(setting::max_header_bytes),
            numberOf(setting::max_redirects),      numberOf(setting::connection_idle_ms)};
}

ChainLimits chainLimits() {
    return {numberOf(setting::chain_fetch_timeout_ms), numberOf(setting::max_chain_fetches),
            sizeOf(setting::max_crl_bytes), numberOf(setting::max_crl_age), numberOf(setting::crl_cache_max_age)};
}

CheckLimits checkLimits() {
    return {numberOf(setting::check_timeout_ms), static_cast<unsigned>(numberOf(setting::max_responders))};
}

bool refusesPrivateAddresses() {
    return flagOf(setting::refuse_private_addresses, true);
}

bool acceptsSha1() {
    return !isForbidden(CRYPTO_CHECK_NO_STORES) && flagOf(setting::accept_sha1, false);
}

}  // namespace tallow::platform
