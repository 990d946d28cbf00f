#include "platform/crypto/base/service_call.h"

#include <openssl/crypto.h>

#include <atomic>
#include <memory>

#include "platform/support/made_once.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

// By default OpenSSL frees its locks and tables in a function registered with atexit, while other threads may be in the
// middle of a check. Its first initialisation in a process decides, so this one is made before main. A failure shows in
// isOpenSslReady.
[[gnu::constructor]] void keepOpenSslUntilProcessEnds() noexcept {
    static_cast<void>(OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr));
}

}  // namespace

bool isOpenSslReady() noexcept {
    static std::atomic<bool> isReady{false};
    if (!isReady.load(std::memory_order_relaxed)) {
        isReady = OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT | OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr) == 1 &&
                  OSSL_LIB_CTX_get0_global_default() != nullptr;
    }
    return isReady.load(std::memory_order_relaxed);
}

TSupportDbContext_* traceContext() noexcept {
    struct Closer {
        void operator()(TSupportDbContext_* context) const noexcept { support_print_done(context); }
    };
    // Never closed: static objects elsewhere may still call the service at the end of the process.
    static NeverDestroyed<MadeOnce<std::unique_ptr<TSupportDbContext_, Closer>>> context;
    return context->get(
        [] { return std::unique_ptr<TSupportDbContext_, Closer>(support_print_init(0, "crypto", 0, 127)); });
}

}  // namespace tallow::platform
