// Why an exchange failed, in words for people. No text contains a login.
#pragma once

#include <sys/socket.h>

#include <string>
#include <string_view>

#include "platform/crypto/network/address_rules.h"

namespace tallow::platform {

// "HTTP status 404 (Not Found)", with the reason phrase of the standard, never the server's.
std::string httpStatusText(long status);

// "15 s", "0.3 s"
std::string secondsText(long milliseconds);

// A URL without its login, even if it cannot be parsed: "http://***@host/".
std::string withoutLogin(std::string_view url);

// "169.254.1.1 is link-local, ...": why an address is not contacted.
std::string refusalText(const sockaddr& address);
std::string refusalText(const std::string& host, AddressClass found);

}  // namespace tallow::platform
