#include "platform/crypto/network/http_version.h"

#include <curl/curl.h>

namespace tallow::platform {

// libcurl is a shared library: the one that runs may be newer than the one this was compiled with.
std::string libcurlVersion() {
    const curl_version_info_data* const curl = curl_version_info(CURLVERSION_NOW);
    const char* const tls = curl->ssl_version;
    return std::string(curl->version) + " (built with " LIBCURL_VERSION "), TLS: " + (tls == nullptr ? "none" : tls);
}

}  // namespace tallow::platform
