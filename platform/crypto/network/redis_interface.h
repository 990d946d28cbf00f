// What the library of the services and its module for Redis give each other, as http_interface.h for HTTP.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/crypto/network/redis_client.h"

namespace tallow::platform {

// What the module calls: it leaves the gate while it waits for the network, and only then.
struct RedisServices {
    unsigned int (*leaveForkGate)() noexcept;
    void (*enterForkGate)(unsigned int numGates) noexcept;
    std::uint32_t (*forkGeneration)() noexcept;
};

struct RedisFunctions {
    std::unique_ptr<RedisConnection> (*connect)(const RedisServer& server, RedisDeadline deadline, std::string& fault);
    std::string (*libraryVersion)();
};

using RedisBuildFunction = const char*();
using RedisConnectFunction = const RedisFunctions*(const RedisServices* services);
inline constexpr char kRedisBuildSymbol[] = "tallow_redis_build";
inline constexpr char kRedisConnectSymbol[] = "tallow_redis_connect";

// What tallow_redis_build of the module that fits this library returns.
inline std::string redisBuild() {
    std::string build = TALLOW_VERSION;
    for (const std::size_t size :
         {sizeof(RedisServer), sizeof(RedisValue), sizeof(RedisServices), sizeof(RedisFunctions)}) {
        build += '-' + std::to_string(size);
    }
    return build;
}

}  // namespace tallow::platform
