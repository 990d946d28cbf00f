// Takes the place of the client of redis_client.h where tallow is built without hiredis.
#include "platform/crypto/network/redis_client.h"

namespace tallow::platform {

std::unique_ptr<RedisConnection> connectRedis(const RedisServer& /*server*/, RedisDeadline /*deadline*/,
                                              std::string& fault) {
    fault = "tallow was built without hiredis; build it with TALLOW_REDIS, or name a directory with url_cache";
    return nullptr;
}

std::string hiredisVersion() {
    return "not built in";
}

bool hasRedis() {
    return false;
}

}  // namespace tallow::platform
