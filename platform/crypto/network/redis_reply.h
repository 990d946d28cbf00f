// Reads one reply of a server, as it arrives.
#pragma once

#include <hiredis/read.h>

#include <cstddef>
#include <memory>
#include <string_view>

#include "platform/crypto/network/redis_client.h"

namespace tallow::platform {

class RedisReplyReader {
public:
    explicit RedisReplyReader(std::size_t largestReply);

    enum class Progress { kMore, kComplete, kMalformed, kTooLarge };
    // After kComplete nothing may follow: octets beyond the reply make it malformed.
    Progress feed(std::string_view octets);
    RedisValue take() { return std::move(root_); }

private:
    // Called by hiredis, through the functions below, for each value in the order of the octets.
    RedisValue* add(const redisReadTask* task, RedisValue::Kind kind);
    static RedisReplyReader& of(const redisReadTask* task);
    static void* addText(const redisReadTask* task, char* text, std::size_t size) noexcept;
    static void* addInteger(const redisReadTask* task, long long integer) noexcept;
    static void* addNothing(const redisReadTask* task) noexcept;
    template <typename Count>
    static void* addArray(const redisReadTask* task, Count count) noexcept;

    struct Free {
        void operator()(redisReader* reader) const noexcept { redisReaderFree(reader); }
    };
    redisReplyObjectFunctions functions_{};
    std::unique_ptr<redisReader, Free> reader_;
    RedisValue root_;
    std::size_t octetsLeft_;
    std::size_t elementsLeft_;
    bool isTooLarge_ = false;
};

}  // namespace tallow::platform
