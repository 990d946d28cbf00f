// The engine interface is deprecated, but OpenSSL 3.0 has no other GOST signatures: the provider made from the same
// code lacks them. The engine fails when it is loaded twice in a process, so only this file loads it. It is registered
// only for keys and hashes: as the default for random numbers or ciphers it would change OpenSSL for the application.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "platform/crypto/keys/gost_engine.h"

#include <openssl/engine.h>
#include <openssl/objects.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <string>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/base/service_call.h"

namespace tallow::platform {

namespace {

using StructuralPtr = std::unique_ptr<ENGINE, OpenSslFree<ENGINE_free>>;
using FunctionalPtr = std::unique_ptr<ENGINE, OpenSslFree<ENGINE_finish>>;

// Whether the engine's file is where OpenSSL looks for it. This costs a microsecond, a failing load fifty.
bool isInstalled() {
    const char* const directory = OPENSSL_info(OPENSSL_INFO_ENGINES_DIR);
    const std::string path = std::string(directory == nullptr ? "" : directory) + "/gost.so";
    return ::access(path.c_str(), F_OK) == 0;
}

// Whether OpenSSL's configuration, or the application, has brought it from elsewhere.
bool isListed() {
    bool found = false;
    for (ENGINE* engine = ENGINE_get_first(); engine != nullptr; engine = ENGINE_get_next(engine)) {
        found |= std::strcmp(ENGINE_get_id(engine), "gost") == 0;
    }
    return found;
}

ENGINE* load() {
    const OpenSslErrors errors;
    if (!isInstalled() && !isListed()) {
        TALLOW_CRYPTO_TRACE("the gost engine is not installed\n");
        return nullptr;
    }
    const StructuralPtr engine(ENGINE_by_id("gost"));
    FunctionalPtr started(engine != nullptr && ENGINE_init(engine.get()) == 1 ? engine.get() : nullptr);
    if (started == nullptr || ENGINE_set_default(started.get(), ENGINE_METHOD_DIGESTS | ENGINE_METHOD_PKEY_METHS |
                                                                    ENGINE_METHOD_PKEY_ASN1_METHS) != 1) {
        TALLOW_CRYPTO_TRACE("the gost engine could not be started\n");
        return nullptr;
    }
    return started.release();
}

// Kept to the end of the process, like the methods that OpenSSL takes from it. A failure is not cached.
ENGINE* gostEngine() noexcept {
    static constinit std::mutex mutex;
    static ENGINE* engine = nullptr;
    try {
        const std::scoped_lock lock(mutex);
        engine = engine == nullptr ? load() : engine;
        return engine;
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

bool gostAvailable() noexcept {
    return gostEngine() != nullptr;
}

const EVP_MD* gostDigest(const char* name) noexcept {
    ENGINE* const engine = gostEngine();
    return engine == nullptr ? nullptr : ENGINE_get_digest(engine, OBJ_sn2nid(name));
}

}  // namespace tallow::platform
