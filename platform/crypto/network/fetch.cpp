#include "platform/crypto/network/fetch.h"

#include <algorithm>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/network/check_scope.h"
#include "platform/crypto/network/http_status.h"

namespace tallow::platform {

namespace {

using Clock = std::chrono::steady_clock;

void noteSkipped() {
    TALLOW_CRYPTO_TRACE("a download was skipped: the limits of the chain or the check were reached\n");
    if (CRYPTO_CHECK* const check = currentCheck()) {
        ++check->cSkippedDownloads;
    }
}

}  // namespace

FetchAllowance::FetchAllowance(long maxFetches, long timeoutMs)
    : fetchesLeft_(maxFetches),
      deadline_(std::min(Clock::now() + std::chrono::milliseconds(timeoutMs), checkDeadline())) {}

bool FetchAllowance::take() {
    if (fetchesLeft_ <= 0 || remainingMs() <= 0) {
        return false;
    }
    --fetchesLeft_;
    return true;
}

long FetchAllowance::remainingMs() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now()).count();
}

std::optional<Bytes> fetchObject(const std::string& url, std::size_t maxSize, FetchAllowance& allowance) {
    const DownloadProxy proxy = downloadProxy();
    if (!proxy.mayDownload) {
        TALLOW_CRYPTO_TRACE("policy refuses the proxy: nothing is downloaded\n");
        return std::nullopt;
    }
    if (!allowance.take()) {
        noteSkipped();
        return std::nullopt;
    }
    ExchangeLimits limits = exchangeLimits();
    limits.deadlineMs = std::min(limits.deadlineMs, allowance.remainingMs());
    limits.maxBodySize = maxSize;
    HttpCall call;
    call.url = url;
    call.proxy = proxy.address;
    call.proxyCredentials = proxy.credentials;
    call.proxyAuthSchemes = proxy.authSchemes;
    HttpAnswer answer = exchangeHttp(call, limits);
    if (answer.error != 0 || answer.status != kOk) {
        return std::nullopt;
    }
    return std::move(answer.body);
}

}  // namespace tallow::platform
