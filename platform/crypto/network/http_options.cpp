#include "platform/crypto/network/http_options.h"

#include <algorithm>
#include <string_view>

namespace tallow::platform {

namespace {

// Connection::onTlsContext needs a libcurl built with OpenSSL. Another one is not used for TLS at all.
bool isTlsOfOpenSsl() {
    const curl_version_info_data* const info = curl_version_info(CURLVERSION_NOW);
    return info != nullptr && info->ssl_version != nullptr &&
           std::string_view(info->ssl_version).starts_with("OpenSSL/");
}

// With CURLAUTH_ONLY libcurl waits for a challenge even if only one scheme is permitted.
long schemesOf(DWORD bits) {
    unsigned long schemes = (bits & CRYPTO_AUTH_BASIC) != 0 ? CURLAUTH_BASIC : 0;
    schemes |= (bits & CRYPTO_AUTH_NTLM) != 0 ? CURLAUTH_NTLM : 0;
    schemes |= (bits & CRYPTO_AUTH_DIGEST) != 0 ? CURLAUTH_DIGEST : 0;
    return static_cast<long>(schemes | CURLAUTH_ONLY);
}

bool isOneLine(const std::string& text) {
    return std::none_of(text.begin(), text.end(), [](unsigned char c) { return (c < 0x20 && c != '\t') || c == 0x7F; });
}

}  // namespace

bool makeHeaders(const HttpCall& call, HeaderList& list) {
    const auto append = [&list](const char* line) {
        curl_slist* const longer = curl_slist_append(list.get(), line);
        if (longer != nullptr) {
            static_cast<void>(list.release());
            list.reset(longer);
        }
        return longer != nullptr;
    };
    for (const std::string& header : call.headers) {
        if (!append(header.c_str())) {
            return false;
        }
    }
    // The body is small: waiting for a "100 Continue" would cost a second where none comes.
    return !call.post || append("Expect:");
}

void setCommonOptions(HttpOptions& options, const ExchangeLimits& limits, Arrival& arrival, Connection& connection) {
    options.set(CURLOPT_NOSIGNAL, 1L);
    // A name lookup cannot be cancelled: its thread ends by itself, and nothing waits for it beyond the deadline.
    options.set(CURLOPT_QUICK_EXIT, 1L);
    options.set(CURLOPT_PROTOCOLS_STR, isTlsOfOpenSsl() ? "http,https" : "http");
    options.set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    options.set(CURLOPT_FOLLOWLOCATION, 0L);  // each hop is checked here first
    options.set(CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
    options.set(CURLOPT_HTTP_CONTENT_DECODING, 0L);
    options.set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    options.set(CURLOPT_SSL_VERIFYPEER, 1L);
    options.set(CURLOPT_SSL_VERIFYHOST, 2L);
    // Whatever libcurl was built with, it reads no roots: Connection::onTlsContext brings them.
    for (const CURLoption roots : {CURLOPT_CAINFO, CURLOPT_CAPATH, CURLOPT_PROXY_CAINFO, CURLOPT_PROXY_CAPATH}) {
        options.set(roots, static_cast<const char*>(nullptr));
    }
    if (isTlsOfOpenSsl()) {
        options.set(CURLOPT_SSL_CTX_FUNCTION, Connection::onTlsContext);
        options.set(CURLOPT_SSL_CTX_DATA, &connection);
    }
    options.set(CURLOPT_CONNECTTIMEOUT_MS, limits.connectTimeoutMs);
    options.set(CURLOPT_RESOLVER_START_FUNCTION, Connection::onLookup);
    options.set(CURLOPT_RESOLVER_START_DATA, &connection);
    options.set(CURLOPT_OPENSOCKETFUNCTION, Connection::onOpenSocket);
    options.set(CURLOPT_OPENSOCKETDATA, &connection);
    options.set(CURLOPT_CLOSESOCKETFUNCTION, Connection::onCloseSocket);
    options.set(CURLOPT_CLOSESOCKETDATA, &connection);
    options.set(CURLOPT_WRITEFUNCTION, Arrival::onBody);
    options.set(CURLOPT_WRITEDATA, &arrival);
    options.set(CURLOPT_HEADERFUNCTION, Arrival::onHeader);
    options.set(CURLOPT_HEADERDATA, &arrival);
}

void setLogin(HttpOptions& options, const Login& login, DWORD schemes) {
    const bool isUsed = !login.empty() && (schemes & CRYPTO_AUTH_ALL) != 0;
    options.set(CURLOPT_USERNAME, isUsed ? login.name.c_str() : nullptr);
    options.set(CURLOPT_PASSWORD, isUsed ? login.password.c_str() : nullptr);
    options.set(CURLOPT_HTTPAUTH, isUsed ? schemesOf(schemes) : static_cast<long>(CURLAUTH_BASIC));
}

DWORD readProxy(const HttpCall& call, Proxy& proxy) {
    proxy.address = call.proxy;
    if (const DWORD error = takeProxyLogin(proxy.address, proxy.login); error != 0) {
        return error;
    }
    if (!call.proxyCredentials.empty()) {
        const std::size_t colon = std::min(call.proxyCredentials.find(':'), call.proxyCredentials.size());
        proxy.login.name = call.proxyCredentials.substr(0, colon);
        proxy.login.password =
            colon < call.proxyCredentials.size() ? call.proxyCredentials.substr(colon + 1) : std::string();
    }
    return 0;
}

void setProxy(HttpOptions& options, const Proxy& proxy, DWORD schemes) {
    options.set(CURLOPT_PROXY, proxy.address.c_str());  // empty, not unset: unset would ask the environment
    options.set(CURLOPT_NOPROXY, "");
    if (!proxy.login.empty() && (schemes & CRYPTO_AUTH_ALL) != 0) {
        options.set(CURLOPT_PROXYUSERNAME, proxy.login.name.c_str());
        options.set(CURLOPT_PROXYPASSWORD, proxy.login.password.c_str());
        options.set(CURLOPT_PROXYAUTH, schemesOf(schemes));
    }
}

void setRequest(HttpOptions& options, const HttpCall& call, const curl_slist* headers) {
    if (call.post) {
        options.set(CURLOPT_POST, 1L);
        options.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(call.body.size()));
        options.set(CURLOPT_POSTFIELDS, call.body.empty() ? "" : reinterpret_cast<const char*>(call.body.data()));
    }
    options.set(CURLOPT_HTTPHEADER, headers);
    if (!call.userAgent.empty()) {
        options.set(CURLOPT_USERAGENT, call.userAgent.c_str());
    }
}

bool isSendable(const HttpCall& call) {
    return isOneLine(call.userAgent) && isOneLine(call.proxyCredentials) &&
           std::all_of(call.headers.begin(), call.headers.end(), isOneLine);
}

}  // namespace tallow::platform
