// Which exchanges may use the same connection.
#pragma once

#include <string>

#include "platform/crypto/network/http_address.h"
#include "platform/crypto/network/http_exchange.h"

namespace tallow::platform {

// Everything that decides what a new connection for a hop of `call` to `address` would be, except the rules for
// addresses: scheme, host and port, and for https also the roots and the state of their file. Empty when the connection
// must be the exchange's own: with a proxy, a login or a header line that could contain one, since a server may take
// the login of one request for that of the whole connection.
std::string connectionKey(const HttpCall& call, const HttpAddress& address);

}  // namespace tallow::platform
