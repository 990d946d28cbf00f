// What one hop asks of libcurl, as options of its handle: the same for every request, then the request, its proxy and
// its logins.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>

#include "platform/crypto/network/arrival.h"
#include "platform/crypto/network/connection.h"
#include "platform/crypto/network/http_address.h"
#include "platform/crypto/network/http_exchange.h"

namespace tallow::platform {

struct ListFree {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListFree>;

// Sets the options of one handle and keeps the first failure. An option that was not set could mean an exchange without
// the proxy, a time limit or the check of the peer, so the exchange must not begin then.
class HttpOptions {
public:
    explicit HttpOptions(CURL* easy) : easy_(easy) {}

    template <typename Value>
    void set(CURLoption option, Value value) {
        if (code_ == CURLE_OK) {
            code_ = curl_easy_setopt(easy_, option, value);
        }
    }
    CURLcode code() const { return code_; }

private:
    CURL* easy_;
    CURLcode code_ = CURLE_OK;
};

struct Proxy {
    std::string address;  // without a login; empty: none
    Login login;
};

// False for a line break in what is sent: it would inject a header line, and libcurl does not reject it.
bool isSendable(const HttpCall& call);

// False when memory ran out: a missing header would change the request.
bool makeHeaders(const HttpCall& call, HeaderList& list);

// Returns 0 or the error of an address that cannot be taken apart.
DWORD readProxy(const HttpCall& call, Proxy& proxy);

void setCommonOptions(HttpOptions& options, const ExchangeLimits& limits, Arrival& arrival, Connection& connection);
void setRequest(HttpOptions& options, const HttpCall& call, const curl_slist* headers);
void setProxy(HttpOptions& options, const Proxy& proxy, DWORD schemes);
void setLogin(HttpOptions& options, const Login& login, DWORD schemes);

}  // namespace tallow::platform
