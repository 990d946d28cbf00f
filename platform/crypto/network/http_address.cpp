#include "platform/crypto/network/http_address.h"

#include <curl/curl.h>
#include <algorithm>

#include <memory>

namespace tallow::platform {

namespace {

struct UrlFree {
    void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};
using UrlPtr = std::unique_ptr<CURLU, UrlFree>;

struct TextFree {
    void operator()(char* text) const noexcept { curl_free(text); }
};

DWORD errorOf(CURLUcode code, DWORD otherwise) {
    return code == CURLUE_OUT_OF_MEMORY ? ERROR_NOT_ENOUGH_MEMORY : otherwise;
}

// Reads one part; an absent one is empty. A part that could not be read must not be treated as absent, or a login would
// stay in the address.
DWORD readPart(CURLU* url, CURLUPart part, unsigned flags, std::string& value) {
    char* text = nullptr;
    const CURLUcode code = curl_url_get(url, part, &text, flags);
    const std::unique_ptr<char, TextFree> owner(text);
    value.clear();
    if (code == CURLUE_OK) {
        value = text;
        return 0;
    }
    const bool isAbsent = code == CURLUE_NO_USER || code == CURLUE_NO_PASSWORD || code == CURLUE_NO_PORT;
    return isAbsent ? 0 : errorOf(code, ERROR_INTERNET_UNRECOGNIZED_SCHEME);
}

// Moves the login out of `parsed`; changes `url` only if there was one.
DWORD takeLogin(CURLU* parsed, std::string& url, Login& login) {
    std::string name;
    std::string password;
    DWORD error = readPart(parsed, CURLUPART_USER, CURLU_URLDECODE, name);
    error = error != 0 ? error : readPart(parsed, CURLUPART_PASSWORD, CURLU_URLDECODE, password);
    if (error != 0 || (name.empty() && password.empty() && url.find('@') == std::string::npos)) {
        return error;
    }
    for (const CURLUPart part : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS}) {
        if (const CURLUcode code = curl_url_set(parsed, part, nullptr, 0); code != CURLUE_OK) {
            return errorOf(code, ERROR_INTERNET_UNRECOGNIZED_SCHEME);
        }
    }
    login = {std::move(name), std::move(password)};
    return readPart(parsed, CURLUPART_URL, 0, url);
}

DWORD parseOnce(const std::string& url, HttpAddress& address) {
    const UrlPtr parsed(curl_url());
    if (!parsed) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    if (const CURLUcode code = curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0); code != CURLUE_OK) {
        return errorOf(code, ERROR_INTERNET_UNRECOGNIZED_SCHEME);
    }
    std::string scheme;
    std::string port;
    address = HttpAddress();
    address.url = url;
    DWORD error = readPart(parsed.get(), CURLUPART_SCHEME, 0, scheme);
    error = error != 0 ? error : readPart(parsed.get(), CURLUPART_HOST, 0, address.host);
    error = error != 0 ? error : readPart(parsed.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT, port);
    error = error != 0 ? error : takeLogin(parsed.get(), address.url, address.login);
    if (error == 0 && scheme != "https" && scheme != "http") {
        return ERROR_INTERNET_UNRECOGNIZED_SCHEME;
    }
    // libcurl decodes escapes in a host name once, so what is left of them (or a control character) may read as another
    // host the next time; and it may map characters above ASCII after the host was checked.
    constexpr auto isUnfit = [](unsigned char c) { return c <= 0x20 || c >= 0x7F || c == '%'; };
    if (std::any_of(address.host.begin(), address.host.end(), isUnfit)) {
        return ERROR_INTERNET_INVALID_URL;
    }
    address.isHttps = scheme == "https";
    address.server = scheme + "://" + address.host + ':' + port;
    return error;
}

}  // namespace

DWORD parseHttpAddress(const std::string& url, HttpAddress& address) {
    DWORD error = parseOnce(url, address);
    if (error != 0 || address.url == url) {
        return error;
    }
    // The address was written anew without its login. It must not read as that of another server, or as one with
    // another login, which an "@" in the zone of an IPv6 address can bring about.
    HttpAddress again;
    error = parseOnce(address.url, again);
    if (error != 0) {
        return error;
    }
    const bool isSame = again.url == address.url && again.server == address.server && again.login.empty();
    return isSame ? 0 : ERROR_INTERNET_INVALID_URL;
}

DWORD takeProxyLogin(std::string& proxy, Login& login) {
    if (proxy.find('@') == std::string::npos) {
        return 0;
    }
    const UrlPtr parsed(curl_url());
    if (!parsed) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    // A proxy without a scheme uses plain HTTP.
    const std::string full = proxy.find("://") == std::string::npos ? "http://" + proxy : proxy;
    if (const CURLUcode code = curl_url_set(parsed.get(), CURLUPART_URL, full.c_str(), CURLU_NON_SUPPORT_SCHEME);
        code != CURLUE_OK) {
        return errorOf(code, ERROR_INVALID_PARAMETER);
    }
    return takeLogin(parsed.get(), proxy, login);
}

}  // namespace tallow::platform
