// The module's side of redis_interface.h.
#include "export.h"
#include "platform/crypto/network/redis_interface.h"
#include "platform/support/fork_gate.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

const RedisServices* services = nullptr;  // set by tallow_redis_connect, before the first call of a function below
constexpr RedisFunctions kFunctions = {connectRedis, hiredisVersion};

}  // namespace

unsigned int ForkGate::leaveAll() noexcept {
    return services->leaveForkGate();
}

std::uint32_t ForkGate::generation() noexcept {
    return services->forkGeneration();
}

void ForkGate::enterAgain(unsigned int numGates) noexcept {
    services->enterForkGate(numGates);
}

}  // namespace tallow::platform

extern "C" {

TALLOW_EXPORT const char* tallow_redis_build() try {
    static tallow::platform::NeverDestroyed<const std::string> build(tallow::platform::redisBuild());
    return build->c_str();
} catch (...) {
    return "";
}

TALLOW_EXPORT const tallow::platform::RedisFunctions* tallow_redis_connect(
    const tallow::platform::RedisServices* library) {
    tallow::platform::services = library;
    return &tallow::platform::kFunctions;
}

}  // extern "C"
