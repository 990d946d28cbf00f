// The module's side of redis_interface.h.
#include "export.h"
#include "platform/crypto/network/redis_interface.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

constexpr RedisFunctions kFunctions = {connectRedis, hiredisVersion};

}  // namespace

}  // namespace tallow::platform

extern "C" {

TALLOW_EXPORT const char* tallow_redis_build() try {
    static tallow::platform::NeverDestroyed<const std::string> build(tallow::platform::redisBuild());
    return build->c_str();
} catch (...) {
    return "";
}

TALLOW_EXPORT const tallow::platform::RedisFunctions* tallow_redis_connect() {
    return &tallow::platform::kFunctions;
}

}  // extern "C"
