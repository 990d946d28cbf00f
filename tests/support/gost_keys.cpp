// Engines are deprecated, but GOST has no provider.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "tests/support/gost_keys.h"

#include <openssl/engine.h>
#include <openssl/evp.h>

#include "tests/support/openssl_ptr.h"

namespace testkit {

namespace {

ENGINE* gostEngine() {
    static ENGINE* const engine = [] {
        ENGINE_load_builtin_engines();
        ENGINE* const found = ENGINE_by_id("gost");
        if (found != nullptr &&
            (ENGINE_init(found) != 1 || ENGINE_set_default(found, ENGINE_METHOD_ALL & ~ENGINE_METHOD_RAND) != 1)) {
            throw std::runtime_error("the gost engine is installed but does not start");
        }
        return found;
    }();
    return engine;
}

}  // namespace

std::optional<GostKey> makeGostKey(int bits) {
    ENGINE* const engine = gostEngine();
    if (engine == nullptr) {
        ERR_clear_error();
        return std::nullopt;
    }
    const bool isLong = bits == 512;
    const PkeyCtxPtr context(
        EVP_PKEY_CTX_new_id(isLong ? NID_id_GostR3410_2012_512 : NID_id_GostR3410_2012_256, engine));
    EVP_PKEY* key = nullptr;
    require(context != nullptr && EVP_PKEY_keygen_init(context.get()) == 1 &&
                EVP_PKEY_CTX_ctrl_str(context.get(), "paramset", "A") == 1 && EVP_PKEY_keygen(context.get(), &key) == 1,
            "making a GOST key");
    return GostKey{Key::own(key), isLong ? "md_gost12_512" : "md_gost12_256"};
}

}  // namespace testkit
