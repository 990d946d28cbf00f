// The versions of the libraries that the Crypto service uses.
#include <curl/curl.h>
#include <openssl/crypto.h>
#include <openssl/opensslv.h>

#include <exception>
#include <string>

#include "platform/crypto/crypto_service.h"
#include "platform/crypto/keys/gost_engine.h"

namespace tallow::platform {

namespace {

// OpenSSL is a shared library: the one that runs may be newer than the one this was compiled with.
std::string versions() {
    const curl_version_info_data* const curl = curl_version_info(CURLVERSION_NOW);
    const char* const tls = curl->ssl_version;
    return std::string("OpenSSL: ") + OpenSSL_version(OPENSSL_VERSION_STRING) +
           " (built with " OPENSSL_VERSION_STR ")\nlibcurl: " + curl->version +
           " (built with " LIBCURL_VERSION "), TLS: " + (tls == nullptr ? "none" : tls) + "\nGOST: " +
           (gostAvailable() ? "the gost engine was found" : "not available; install libengine-gost-openssl") + '\n';
}

}  // namespace

}  // namespace tallow::platform

LPCSTR crypto_library_versions(void) try {
    static const std::string text = tallow::platform::versions();
    return text.c_str();
} catch (const std::exception&) {
    return "";
}
