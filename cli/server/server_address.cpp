#include "cli/server/server_address.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "cli/server/server_failure.h"

namespace tallow::cli {

namespace {

constexpr const char* kForms = "give HOST, HOST:PORT or [IPv6]:PORT";

[[noreturn]] void refuse(const std::string& cause, const char* remedy = kForms) {
    throw AddressMistake(cause + "; " + remedy);
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isOfName(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' || c == '_';
}

bool isIpv4(const std::string& text) {
    in_addr address;
    return ::inet_pton(AF_INET, text.c_str(), &address) == 1;
}

// A zone ("fe80::1%eth0") is permitted: link-local addresses need one.
bool isIpv6(const std::string& text) {
    constexpr std::size_t kLongestZone = 15;  // IFNAMSIZ without its end
    const std::size_t percent = text.find('%');
    if (percent != std::string::npos) {
        const std::string_view zone = std::string_view(text).substr(percent + 1);
        if (zone.empty() || zone.size() > kLongestZone ||
            !std::all_of(zone.begin(), zone.end(), [](char c) { return isOfName(c) || c == '.'; })) {
            return false;
        }
    }
    in6_addr address;
    return ::inet_pton(AF_INET6, text.substr(0, percent).c_str(), &address) == 1;
}

std::uint16_t readPort(std::string_view text) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port == 0) {
        refuse("the port \"" + std::string(text) + "\" is not a number from 1 to 65535");
    }
    return port;
}

void requireName(const std::string& name) {
    constexpr std::size_t kLongestName = 253;
    constexpr std::size_t kLongestLabel = 63;
    if (std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) > 0x7E; })) {
        refuse("the name contains characters other than ASCII", "write it in its ASCII form (xn--...)");
    }
    if (name.size() > kLongestName) {
        refuse("the name is longer than 253 characters");
    }
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = name.find('.', begin);
        const std::string label = name.substr(begin, end - begin);
        if (label.empty() || label.size() > kLongestLabel || !std::all_of(label.begin(), label.end(), isOfName)) {
            refuse("\"" + name + "\" is not the name of a server");
        }
    }
    // The C library would read "127.1" as an IP address.
    const std::string last = name.substr(name.rfind('.') + 1);
    if (std::all_of(last.begin(), last.end(), isDigit) || last.starts_with("0x") || last.starts_with("0X")) {
        refuse("\"" + name + "\" is neither a name nor an IP address");
    }
}

}  // namespace

std::string ServerAddress::label() const {
    const bool hasColon = host.find(':') != std::string::npos;
    return (hasColon ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

ServerAddress readServerAddress(const std::string& text, std::uint16_t defaultPort) {
    if (text.find("//") != std::string::npos || text.find('/') != std::string::npos) {
        refuse("is a URL or a path");
    }
    if (text.find('@') != std::string::npos) {
        refuse("contains a login");
    }
    std::string host = text;
    std::string_view port;
    bool hasPort = false;
    if (text.starts_with('[')) {
        const std::size_t end = text.find(']');
        host = text.substr(1, end == std::string::npos ? end : end - 1);
        const std::string_view rest = end == std::string::npos ? "]" : std::string_view(text).substr(end + 1);
        if (!isIpv6(host) || !(rest.empty() || rest.starts_with(':'))) {
            refuse("does not have the form [IPv6] or [IPv6]:PORT");
        }
        hasPort = !rest.empty();
        port = rest.substr(hasPort ? 1 : 0);
    } else if (const std::size_t colon = text.find(':'); colon != std::string::npos && !isIpv6(text)) {
        if (text.find(':', colon + 1) != std::string::npos) {
            refuse("is no IPv6 address, and has more than one colon");
        }
        host = text.substr(0, colon);
        hasPort = true;
        port = std::string_view(text).substr(colon + 1);
    }
    ServerAddress address;
    address.port = hasPort ? readPort(port) : defaultPort;
    address.isNumeric = isIpv4(host) || isIpv6(host);
    if (!address.isNumeric) {
        host.resize(host.size() - (host.ends_with('.') ? 1 : 0));
        requireName(host);
    }
    address.host = host;
    return address;
}

void requireServerName(const std::string& name) {
    constexpr const char* kRemedy = "give a name such as www.example.org";
    if (isIpv4(name) || isIpv6(name)) {
        refuse("an IP address cannot be sent as the name of a server", kRemedy);
    }
    requireName(name);
}

}  // namespace tallow::cli
