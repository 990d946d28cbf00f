// The address of a Redis server: redis://HOST:PORT/DATABASE, or rediss:// over TLS. Port and database may be missing.
#pragma once

#include <optional>
#include <string>

namespace tallow::platform {

struct RedisAddress {
    bool useTls = false;
    std::string host;  // a name, or an address without brackets
    unsigned int port = 6379;
    unsigned int database = 0;

    // Nothing, and in `fault` what is wrong with the text, phrased to follow it. A login in the address is refused:
    // addresses appear in messages and in lists of processes.
    static std::optional<RedisAddress> read(const std::string& text, std::string& fault);

    // "rediss://[::1]:6379/0".
    std::string text() const;
};

}  // namespace tallow::platform
