// Where a TLS server is, as the user wrote it.
//
//   readServerAddress("mail.example", 25).label();  // "mail.example:25"
#pragma once

#include <cstdint>
#include <string>

namespace tallow::cli {

struct ServerAddress {
    std::string host;  // a name in ASCII without the final dot, or an IP address without brackets
    std::uint16_t port = 0;
    bool isNumeric = false;  // an IP address, which has no SNI (RFC 6066, section 3)

    /// "host:443", "[::1]:443".
    std::string label() const;
};

/// HOST, HOST:PORT, [IPv6]:PORT, [IPv6] or IPv6. Throws AddressMistake.
ServerAddress readServerAddress(const std::string& text, std::uint16_t defaultPort);

/// Throws AddressMistake for a text that cannot be sent as the name of a server; an IP address cannot.
void requireServerName(const std::string& name);

}  // namespace tallow::cli
