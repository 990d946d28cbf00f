// Which libcurl is used, for people.
#pragma once

#include <string>

namespace tallow::platform {

// "7.88.1 (built with 7.88.1), TLS: OpenSSL/3.0.19"; where libcurl is not loaded yet, only what it was built with.
std::string libcurlVersion();

}  // namespace tallow::platform
