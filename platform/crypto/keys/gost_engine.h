// OpenSSL's gost engine, when it is installed: GOST hashes and keys.
#pragma once

#include <openssl/evp.h>

namespace tallow::platform {

// Whether the engine is there. Loads it on the first call.
bool gostAvailable() noexcept;

// A hash of the engine by its short name, null without the engine.
const EVP_MD* gostDigest(const char* name) noexcept;

}  // namespace tallow::platform
