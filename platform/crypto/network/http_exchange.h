// One bounded exchange over HTTP with libcurl.
//
// Rules for every exchange and every hop of it: http and https only, and never from https down to http; one deadline
// for all hops together, and that of the enclosing check; sizes counted as octets arrive; a truncated body is a
// failure; nothing is decompressed; no cookies, no netrc, nothing from the environment; credentials go only to the
// server or proxy they are for, once it asks for them; TLS peers are verified; link-local, multicast and similar
// addresses are contacted only when the caller or the administrator named them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/crypto/base/limits.h"
#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

struct HttpCall {
    std::string url;
    bool addressIsNamed = false;  // the caller or the administrator chose the URL, not a certificate
    bool post = false;
    ByteView body;                     // of a POST; must outlive the call
    std::vector<std::string> headers;  // "Name: value"
    std::string userAgent;
    DWORD authSchemes = 0;         // CRYPTO_AUTH_... bits for a login in the URL, used only when named
    std::string proxy;             // empty: none, whatever the environment says
    std::string proxyCredentials;  // "name:password"; empty: those in the proxy's address, if any
    DWORD proxyAuthSchemes = 0;    // CRYPTO_AUTH_... bits for a login at the proxy
    // Called before a redirect is followed, with its target and status; may be empty.
    std::function<bool(const std::string& target, long status)> onRedirect;
    // The settings behind the limits, for HttpAnswer::reason.
    const char* timeSetting = "exchange_timeout_ms";
    long timeSettingMs = 0;  // the value of that setting; 0: the limit itself
    const char* sizeSetting = "max_response_bytes";
};

struct HttpAnswer {
    DWORD error = 0;  // 0, or an error of crypto_constants.h: no complete response arrived
    long status = 0;  // HTTP status of the last hop; 0 when there is an error
    Bytes body;       // empty when there is an error
    // Why there is an error or a status other than 200, in words for people and without a login.
    std::string reason;
    bool isAtProxy = false;  // the proxy failed rather than the server
    long connectStatus = 0;  // with which the proxy refused to connect to the server; else 0
};

// A redirect of a GET is followed; one of a POST is followed with the same POST (301, 302, 307, 308) or is an error.
HttpAnswer exchangeHttp(const HttpCall& call, const ExchangeLimits& limits);

}  // namespace tallow::platform
