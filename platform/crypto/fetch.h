// HTTP for the service: one bounded exchange over libcurl, and on top of it the downloads that a chain may cost.
//
// What every exchange keeps to, whoever asks: http and https only, on every hop, and never from https down to http;
// one deadline for all hops together; sizes counted here as octets arrive; a body cut short is a failure; nothing is
// inflated; no cookies, no netrc, nothing from the environment; credentials go to the proxy they are for and nowhere
// else; TLS peers are verified.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "platform/crypto/certificate.h"
#include "platform/crypto/limits.h"

namespace tallow::platform {

struct HttpCall {
    std::string url;
    bool post = false;
    ByteView body;                     // of a POST; must outlive the call
    std::vector<std::string> headers;  // "Name: value"
    std::string userAgent;
    std::string proxy;             // empty: none, whatever the environment says
    std::string proxyCredentials;  // "name:password"; empty: none
};

struct HttpAnswer {
    DWORD error = 0;  // 0, or an ERROR_INTERNET_... or ERROR_HTTP_... value: no whole answer came
    long status = 0;  // HTTP status of the last hop; 0 when there is an error
    Bytes body;       // empty when there is an error
};

// A redirect of a GET is followed; one of a POST is followed with the same POST (301, 302, 307, 308) or is an error.
HttpAnswer exchangeHttp(const HttpCall& call, const ExchangeLimits& limits);

// What the downloads of one chain may cost together. Not for use from several threads.
class FetchAllowance {
public:
    FetchAllowance(long maxFetches, long timeoutMs);

    // Counts one download; false when none is left or the time is over.
    bool take();
    long remainingMs() const;

private:
    long fetchesLeft_;
    std::chrono::steady_clock::time_point deadline_;
};

// GET `url`, when the allowance lets it: the body of an answer with status 200, else nothing.
std::optional<Bytes> fetchObject(const std::string& url, std::size_t maxSize, FetchAllowance& allowance);

}  // namespace tallow::platform
