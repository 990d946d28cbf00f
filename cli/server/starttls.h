// Asking a server for TLS in the protocol that it speaks.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "cli/server/plain_text.h"

namespace tallow::cli {

/// One protocol. Its dialogue ends after the server's go-ahead, and throws ServerFailure when there is none.
struct StartTlsProtocol {
    std::string_view name;  // as in --starttls
    std::uint16_t port;     // where such a server usually is
    void (*dialogue)(PlainText& server, const std::string& host);
};

/// All of them.
std::span<const StartTlsProtocol> startTlsProtocols();

/// Null for a name that is not in the list.
const StartTlsProtocol* startTlsNamed(std::string_view name);

/// The protocol that servers at this port usually speak; null when they begin with TLS, or are not known.
const StartTlsProtocol* startTlsAt(std::uint16_t port);

/// The dialogue, after which the next octet of `wire` belongs to TLS. `host` is the name of the server, or its address.
void startTls(Wire& wire, const StartTlsProtocol& protocol, const std::string& host);

}  // namespace tallow::cli
