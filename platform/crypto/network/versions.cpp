// The versions of the libraries that the Crypto service uses.
#include <openssl/crypto.h>
#include <openssl/opensslv.h>

#include <exception>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "platform/crypto/crypto_service.h"
#include "platform/crypto/keys/gost_engine.h"
#include "platform/crypto/network/cache_server.h"
#include "platform/crypto/network/http_version.h"
#include "platform/support/fork_gate.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

// OpenSSL is a shared library: the one that runs may be newer than the one this was compiled with.
std::string versions() {
    return std::string("OpenSSL: ") + OpenSSL_version(OPENSSL_VERSION_STRING) +
           " (built with " OPENSSL_VERSION_STR ")\nlibcurl: " + libcurlVersion() + "\nhiredis: " + hiredisVersion() +
           "\nGOST: " +
           (gostAvailable() ? "the gost engine was found" : "not available; install libengine-gost-openssl") + '\n';
}

// Every text that was returned stays valid: there is more to say once libcurl is loaded.
const std::string& kept(std::string text) {
    static constinit std::mutex mutex;
    static NeverDestroyed<std::set<std::string>> texts;
    const std::scoped_lock lock(mutex);
    return *texts->insert(std::move(text)).first;
}

}  // namespace

}  // namespace tallow::platform

LPCSTR crypto_cache_fault(void) try {
    const tallow::platform::ForkGate gate;
    return tallow::platform::CacheServer::ofProcess().firstFault();
} catch (const std::exception&) {
    return nullptr;
}

LPCSTR crypto_library_versions(void) try {
    const tallow::platform::ForkGate gate;
    return tallow::platform::kept(tallow::platform::versions()).c_str();
} catch (const std::exception&) {
    return "";
}
