#include "platform/crypto/network/exchange_text.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace tallow::platform {

namespace {

// RFC 9110, section 15, and RFC 6585: those that responders, servers of CRLs and proxies send.
struct Phrase {
    long status;
    const char* text;
};
constexpr Phrase kPhrases[] = {
    {201, "Created"},
    {202, "Accepted"},
    {204, "No Content"},
    {206, "Partial Content"},
    {300, "Multiple Choices"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {304, "Not Modified"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Timeout"},
    {410, "Gone"},
    {411, "Length Required"},
    {413, "Content Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {421, "Misdirected Request"},
    {429, "Too Many Requests"},
    {451, "Unavailable For Legal Reasons"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
    {505, "HTTP Version Not Supported"},
};

}  // namespace

std::string httpStatusText(long status) {
    const auto* const known = std::find_if(std::begin(kPhrases), std::end(kPhrases),
                                           [status](const Phrase& phrase) { return phrase.status == status; });
    return "HTTP status " + std::to_string(status) +
           (known == std::end(kPhrases) ? std::string() : std::string(" (") + known->text + ')');
}

std::string secondsText(long milliseconds) {
    std::string text = std::to_string(milliseconds / 1000);
    if (milliseconds % 1000 != 0) {
        text += '.' + std::to_string(1000 + milliseconds % 1000).substr(1);
        text.erase(text.find_last_not_of('0') + 1);
    }
    return text + " s";
}

std::string withoutLogin(std::string_view url) {
    const std::size_t at = url.rfind('@');
    if (at == std::string_view::npos) {
        return std::string(url);
    }
    const std::size_t scheme = url.find("://");
    const std::size_t begin = scheme == std::string_view::npos || scheme > at ? 0 : scheme + 3;
    return std::string(url.substr(0, begin)) + "***" + std::string(url.substr(at));
}

std::string refusalText(const std::string& host, AddressClass found) {
    return host + (found == AddressClass::kPrivate
                       ? " is a loopback or private address, which the setting refuse_private_addresses excludes"
                       : " is a link-local, multicast, reserved or unspecified address, which neither the caller nor "
                         "the policy named");
}

std::string refusalText(const sockaddr& address) {
    char text[INET6_ADDRSTRLEN] = "";
    if (address.sa_family == AF_INET) {
        sockaddr_in v4{};
        std::memcpy(&v4, &address, sizeof v4);
        ::inet_ntop(AF_INET, &v4.sin_addr, text, sizeof text);
    } else if (address.sa_family == AF_INET6) {
        sockaddr_in6 v6{};
        std::memcpy(&v6, &address, sizeof v6);
        ::inet_ntop(AF_INET6, &v6.sin6_addr, text, sizeof text);
    }
    return refusalText(std::string(text), classOf(address));
}

}  // namespace tallow::platform
