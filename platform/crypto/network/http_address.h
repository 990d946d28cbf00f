// Splits an http or https address and removes its login: after this, no URL contains credentials.
#pragma once

#include <string>

#include "platform/crypto/crypto_service.h"

namespace tallow::platform {

struct Login {
    std::string name;
    std::string password;

    bool empty() const { return name.empty() && password.empty(); }
    bool operator==(const Login&) const = default;
};

struct HttpAddress {
    std::string url;  // as given, without the login
    bool isHttps = false;
    std::string host;    // an IPv6 address in brackets
    std::string server;  // host and port, to compare servers
    Login login;         // decoded
};

// Returns 0, or an error: ERROR_INTERNET_UNRECOGNIZED_SCHEME for a text that is not an http or https address,
// ERROR_INTERNET_INVALID_URL for a host that could be read as another one, ERROR_NOT_ENOUGH_MEMORY. `address` is
// complete only when the result is 0.
[[nodiscard]] DWORD parseHttpAddress(const std::string& url, HttpAddress& address);

// Removes the login from a proxy's address, which may have any scheme or none. Returns 0 or an error as above;
// ERROR_INVALID_PARAMETER for a text that cannot be parsed.
[[nodiscard]] DWORD takeProxyLogin(std::string& proxy, Login& login);

}  // namespace tallow::platform
