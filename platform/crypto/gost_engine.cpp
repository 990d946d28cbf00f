// The engine interface is deprecated, and there is no other way to GOST signatures with OpenSSL 3.0: the provider made
// of the same code has no signatures. The engine fails when it is loaded twice in a process, so this is the one place,
// and it is set up for keys and hashes alone: as the default for random numbers or ciphers it would change what the
// application gets from OpenSSL.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "platform/crypto/gost_engine.h"

#include <openssl/engine.h>
#include <openssl/objects.h>

#include "platform/crypto/service_call.h"

namespace tallow::platform {

namespace {

ENGINE* load() noexcept {
    OpenSslErrors const errors;
    ENGINE* const engine = ENGINE_by_id("gost");
    if (engine == nullptr) {
        TALLOW_CRYPTO_TRACE("the gost engine is not installed\n");
        return nullptr;
    }
    if (ENGINE_init(engine) != 1) {
        ENGINE_free(engine);
        TALLOW_CRYPTO_TRACE("the gost engine could not be started\n");
        return nullptr;
    }
    ENGINE_set_default(engine, ENGINE_METHOD_DIGESTS | ENGINE_METHOD_PKEY_METHS | ENGINE_METHOD_PKEY_ASN1_METHS);
    return engine;
}

// Held to the end of the process, as are the methods that OpenSSL takes from it.
ENGINE* gostEngine() noexcept {
    static ENGINE* const engine = load();
    return engine;
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
