#include "platform/crypto/network/address_rules.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace tallow::platform {

namespace {

struct Range4 {
    std::uint32_t network;
    int sizePrefix;  // bits
    AddressClass addressClass;
};
constexpr Range4 kRanges4[] = {
    {0x00000000, 8, AddressClass::kSpecial},   // unspecified, "this network"
    {0xA9FE0000, 16, AddressClass::kSpecial},  // link-local
    {0xE0000000, 4, AddressClass::kSpecial},   // multicast
    {0xF0000000, 4, AddressClass::kSpecial},   // reserved, and 255.255.255.255
    {0x7F000000, 8, AddressClass::kPrivate},   // loopback
    {0x0A000000, 8, AddressClass::kPrivate},  {0xAC100000, 12, AddressClass::kPrivate},
    {0xC0A80000, 16, AddressClass::kPrivate}, {0x64400000, 10, AddressClass::kPrivate},  // carrier-grade NAT
};

AddressClass classOf4(std::uint32_t address) noexcept {
    for (const Range4& range : kRanges4) {
        if ((address ^ range.network) >> (32 - range.sizePrefix) == 0) {
            return range.addressClass;
        }
    }
    return AddressClass::kPublic;
}

using Octets6 = std::array<std::uint8_t, 16>;

constexpr std::size_t kNone = 16;

struct Range6 {
    Octets6 network;
    int sizePrefix;             // bits
    AddressClass addressClass;  // of the range itself
    std::size_t embedded;       // octet at which an IPv4 address begins; kNone: there is none
    std::uint8_t mask;          // that its octets are combined with (Teredo inverts them)
};
// In order: the unspecified and the loopback address come before the range of compatible addresses that contains them.
constexpr Range6 kRanges6[] = {
    {{}, 128, AddressClass::kSpecial, kNone, 0},                                                // unspecified
    {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 128, AddressClass::kPrivate, kNone, 0},  // loopback
    {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF}, 96, AddressClass::kPublic, 12, 0},             // mapped
    {{}, 96, AddressClass::kPublic, 12, 0},                                                     // compatible
    {{0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF}, 96, AddressClass::kPublic, 12, 0},                   // translated (SIIT)
    {{0x00, 0x64, 0xFF, 0x9B}, 96, AddressClass::kPublic, 12, 0},                               // NAT64
    {{0x00, 0x64, 0xFF, 0x9B, 0x00, 0x01}, 48, AddressClass::kPrivate, 12, 0},                  // local NAT64
    {{0x20, 0x02}, 16, AddressClass::kPublic, 2, 0},                                            // 6to4
    {{0x20, 0x01, 0x00, 0x00}, 32, AddressClass::kPublic, 12, 0xFF},                            // Teredo
    {{0xFE, 0x80}, 10, AddressClass::kSpecial, kNone, 0},                                       // link-local
    {{0xFF}, 8, AddressClass::kSpecial, kNone, 0},                                              // multicast
    {{0xFC}, 7, AddressClass::kPrivate, kNone, 0},                                              // unique local
    {{0xFE, 0xC0}, 10, AddressClass::kPrivate, kNone, 0},                                       // site-local
};

bool isIn(const Octets6& address, const Range6& range) noexcept {
    for (int bit = 0; bit < range.sizePrefix; bit += 8) {
        const auto octet = static_cast<std::size_t>(bit / 8);
        const int left = std::min(range.sizePrefix - bit, 8);
        if ((address[octet] ^ range.network[octet]) >> (8 - left) != 0) {
            return false;
        }
    }
    return true;
}

AddressClass classOf6(const Octets6& address) noexcept {
    for (const Range6& range : kRanges6) {
        if (!isIn(address, range)) {
            continue;
        }
        std::uint32_t embedded = 0;
        for (std::size_t i = 0; range.embedded != kNone && i < 4; ++i) {
            embedded = embedded << 8 | (address[range.embedded + i] ^ range.mask);
        }
        return range.embedded == kNone ? range.addressClass : std::max(range.addressClass, classOf4(embedded));
    }
    return AddressClass::kPublic;
}

}  // namespace

AddressClass classOf(const sockaddr& address) noexcept {
    if (address.sa_family == AF_INET) {
        sockaddr_in v4{};
        std::memcpy(&v4, &address, sizeof v4);
        return classOf4(ntohl(v4.sin_addr.s_addr));
    }
    if (address.sa_family == AF_INET6) {
        sockaddr_in6 v6{};
        std::memcpy(&v6, &address, sizeof v6);
        Octets6 octets{};
        std::memcpy(octets.data(), &v6.sin6_addr, octets.size());
        return classOf6(octets);
    }
    return AddressClass::kSpecial;
}

AddressClass classOfHost(const std::string& host) {
    const std::string name = host.substr(0, host.find_last_not_of('.') + 1);
    in_addr v4{};
    if (::inet_aton(name.c_str(), &v4) != 0) {
        return classOf4(ntohl(v4.s_addr));
    }
    if (host.size() > 2 && host.front() == '[') {
        Octets6 octets{};
        const std::string text = host.substr(1, host.find_first_of("]%") - 1);
        return ::inet_pton(AF_INET6, text.c_str(), octets.data()) == 1 ? classOf6(octets) : AddressClass::kSpecial;
    }
    constexpr std::string_view kLocal = "localhost";
    const bool isLocal = name.size() >= kLocal.size() &&
                         ::strcasecmp(name.c_str() + name.size() - kLocal.size(), kLocal.data()) == 0 &&
                         (name.size() == kLocal.size() || name[name.size() - kLocal.size() - 1] == '.');
    return isLocal ? AddressClass::kPrivate : AddressClass::kPublic;
}

}  // namespace tallow::platform
