// Calls of connect() and getaddrinfo() in this process.
#pragma once

#include <string>
#include <vector>

namespace proof {

/// What getaddrinfo returns for a name from now on.
void setAddresses(const std::string& name, const std::vector<std::string>& addresses);

/// The addresses, as numbers, that connect() was called with since the last call. Only 127.0.0.0/8 is contacted; other
/// calls fail.
std::vector<std::string> takeContacted();

}  // namespace proof
