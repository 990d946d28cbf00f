// The library's side of libtallow-redis.so: loads it on first use, and passes calls on to it.
#include <dlfcn.h>

#include <mutex>
#include <utility>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/network/module_file.h"
#include "platform/crypto/network/redis_interface.h"

namespace tallow::platform {

namespace {

constexpr char kName[] = "libtallow-redis";
constexpr RedisServices kServices = {ForkGate::leaveAll, ForkGate::enterAgain, ForkGate::generation};

// Either the functions, or why there are none.
struct Loaded {
    const RedisFunctions* functions = nullptr;
    std::string fault;
};

Loaded failed(const std::string& file, const std::string& cause) {
    TALLOW_CRYPTO_TRACE("%s is not used: %s\n", file.c_str(), cause.c_str());
    return {nullptr, "Redis needs the module " + file + ", which " + cause};
}

Loaded load() {
    const std::string file = moduleFile(kName);
    const auto [module, fault] = openModule(file);
    if (module == nullptr) {
        return failed(file, fault);
    }
    auto* const build = reinterpret_cast<RedisBuildFunction*>(::dlsym(module, kRedisBuildSymbol));
    auto* const connect = reinterpret_cast<RedisConnectFunction*>(::dlsym(module, kRedisConnectSymbol));
    if (build == nullptr || connect == nullptr) {
        return failed(file, "is no module of tallow");
    }
    if (const std::string found = build(), wanted = redisBuild(); found != wanted) {
        return failed(file, "is of another build (" + found + ", not " + wanted + ')');
    }
    return {connect(&kServices), {}};
}

const RedisFunctions* loadedFunctions = nullptr;
constinit std::mutex loading;

Loaded redisModule() {
    const std::scoped_lock lock(loading);
    if (loadedFunctions != nullptr) {
        return {loadedFunctions, {}};
    }
    Loaded loaded = load();
    loadedFunctions = loaded.functions;
    return loaded;
}

}  // namespace

std::unique_ptr<RedisConnection> connectRedis(const RedisServer& server, RedisDeadline deadline, std::string& fault) {
    Loaded module = redisModule();
    if (module.functions != nullptr) {
        return module.functions->connect(server, deadline, fault);
    }
    fault = std::move(module.fault);
    return nullptr;
}

// Does not load the module.
std::string hiredisVersion() {
    const std::scoped_lock lock(loading);
    const std::string file = moduleFile(kName);
    return loadedFunctions != nullptr
               ? loadedFunctions->libraryVersion()
               : "built with " TALLOW_HIREDIS_VERSION "; " +
                     (isFileThere(file) ? "loaded on first use by " + file : "cannot be used without " + file);
}

bool hasRedis() {
    return isFileThere(moduleFile(kName));
}

}  // namespace tallow::platform
