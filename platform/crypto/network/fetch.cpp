#include "platform/crypto/network/fetch.h"

#include <algorithm>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/network/check_scope.h"
#include "platform/crypto/network/exchange_note.h"
#include "platform/crypto/network/http_status.h"

namespace tallow::platform {

namespace {

using Clock = std::chrono::steady_clock;

void countSkipped() {
    TALLOW_CRYPTO_TRACE("a download was skipped: the limits of the chain or the check were reached\n");
    if (CRYPTO_CHECK* const check = currentCheck()) {
        ++check->cSkippedDownloads;
    }
}

}  // namespace

FetchAllowance::FetchAllowance(long maxFetches, long timeoutMs)
    : fetchesLeft_(maxFetches),
      timeoutMs_(timeoutMs),
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

std::optional<Bytes> fetchObject(const std::string& url, std::size_t maxSize, FetchAllowance& allowance,
                                 DWORD purpose) {
    const DownloadProxy proxy = downloadProxy();
    if (!proxy.mayDownload) {
        TALLOW_CRYPTO_TRACE("policy refuses the proxy: nothing is downloaded\n");
        noteSkipped(purpose, url, ERROR_INTERNET_OPERATION_CANCELLED, "not downloaded: this check downloads nothing");
        return std::nullopt;
    }
    const bool isOver = allowance.remainingMs() <= 0;
    if (!allowance.take()) {
        countSkipped();
        noteSkipped(purpose, url, isOver ? ERROR_INTERNET_TIMEOUT : ERROR_INTERNET_OPERATION_CANCELLED,
                    isOver ? "not downloaded: the time of the chain or the check is used up"
                           : "not downloaded: one chain may cost no more downloads (setting max_chain_fetches)");
        return std::nullopt;
    }
    ExchangeLimits limits = exchangeLimits();
    HttpCall call;
    call.sizeSetting = purpose == CRYPTO_NOTE_FOR_CRL ? "max_crl_bytes" : call.sizeSetting;
    if (allowance.remainingMs() < limits.deadlineMs) {
        limits.deadlineMs = allowance.remainingMs();
        call.timeSetting = "chain_fetch_timeout_ms";
        call.timeSettingMs = allowance.timeoutMs();
    }
    limits.maxBodySize = maxSize;
    call.url = url;
    call.proxy = proxy.address;
    call.proxyCredentials = proxy.credentials;
    call.proxyAuthSchemes = proxy.authSchemes;
    const Clock::time_point start = Clock::now();
    HttpAnswer answer = exchangeHttp(call, limits);
    noteExchange(purpose, url, answer, start);
    if (answer.error != 0 || answer.status != kOk) {
        return std::nullopt;
    }
    return std::move(answer.body);
}

}  // namespace tallow::platform
