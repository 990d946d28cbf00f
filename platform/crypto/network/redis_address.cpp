#include "platform/crypto/network/redis_address.h"

#include <charconv>
#include <string_view>

namespace tallow::platform {

namespace {

constexpr unsigned int kLargestPort = 65535;
constexpr unsigned int kLargestDatabase = 65535;
constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_";

bool readNumber(std::string_view digits, unsigned int largest, unsigned int& number) {
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && end == digits.data() + digits.size() && number <= largest;
}

// Takes the host off the front of `rest`; an IPv6 address is in brackets.
bool takeHost(std::string_view& rest, std::string& host) {
    const bool isBracketed = rest.starts_with('[');
    const std::size_t end = isBracketed ? rest.find(']') : std::min(rest.find_first_of(":/"), rest.size());
    if (end == std::string_view::npos) {
        return false;
    }
    const std::string_view name = rest.substr(isBracketed ? 1 : 0, end - (isBracketed ? 1 : 0));
    const bool isPlain = isBracketed ? name.find_first_not_of("0123456789abcdefABCDEF:.") == std::string_view::npos
                                     : name.find_first_not_of(kLetters) == std::string_view::npos;
    host = name;
    rest.remove_prefix(end + (isBracketed ? 1 : 0));
    return isPlain && !name.empty() && name.size() <= 253;
}

}  // namespace

std::optional<RedisAddress> RedisAddress::read(const std::string& text, std::string& fault) {
    RedisAddress address;
    address.useTls = text.starts_with("rediss://");
    if (!address.useTls && !text.starts_with("redis://")) {
        fault = "is no address that begins with redis:// or rediss://";
        return std::nullopt;
    }
    std::string_view rest(text);
    rest.remove_prefix(rest.find("//") + 2);
    if (rest.find('@') != std::string_view::npos) {
        fault = "contains a login; name the user and a file with the password by their own options or keys";
        return std::nullopt;
    }
    bool isRead = takeHost(rest, address.host);
    if (isRead && rest.starts_with(':')) {
        const std::size_t end = std::min(rest.find('/'), rest.size());
        isRead = readNumber(rest.substr(1, end - 1), kLargestPort, address.port) && address.port != 0;
        rest.remove_prefix(end);
    }
    if (isRead && rest.size() > 1) {
        isRead = rest.starts_with('/') && readNumber(rest.substr(1), kLargestDatabase, address.database);
    }
    if (!isRead || (rest.size() == 1 && rest != "/")) {
        fault = "is no address of the form redis://HOST:PORT/DATABASE";
        return std::nullopt;
    }
    return address;
}

std::string RedisAddress::text() const {
    const bool isBracketed = host.find(':') != std::string::npos;
    return (useTls ? "rediss://" : "redis://") + (isBracketed ? '[' + host + ']' : host) + ':' + std::to_string(port) +
           '/' + std::to_string(database);
}

}  // namespace tallow::platform
