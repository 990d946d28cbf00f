// The functions of redis_service.h.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/network/cache_server.h"
#include "platform/crypto/redis_service.h"

using namespace tallow::platform;

struct _CRYPTO_REDIS {
    RedisServer server;
    std::string mistake;  // in the description of the server
    std::string fault;
    std::unique_ptr<RedisConnection> connection;
    std::uint32_t process = 0;  // that connected
    RedisValue reply;
    std::vector<std::unique_ptr<CRYPTO_REDIS_VALUE[]>> records;  // of the reply
};

namespace {

// Its record, with those of its elements in `redis`.
CRYPTO_REDIS_VALUE recordOf(const RedisValue& value, CRYPTO_REDIS& redis) {
    CRYPTO_REDIS_VALUE record{};
    record.dwKind = static_cast<DWORD>(value.kind);
    record.cbText = static_cast<DWORD>(value.text.size());
    record.pbText = value.text.c_str();
    record.iValue = value.integer;
    record.cValue = static_cast<DWORD>(value.elements.size());
    if (!value.elements.empty()) {
        auto elements = std::make_unique<CRYPTO_REDIS_VALUE[]>(value.elements.size());
        std::transform(value.elements.begin(), value.elements.end(), elements.get(),
                       [&redis](const RedisValue& element) { return recordOf(element, redis); });
        record.rgValue = elements.get();
        redis.records.push_back(std::move(elements));
    }
    return record;
}

// A server may close an idle connection at any time. A child of fork would read replies of its parent.
bool connect(CRYPTO_REDIS& redis, RedisDeadline deadline) {
    if (redis.connection && redis.process == ForkGate::generation() && redis.connection->fault().empty() &&
        redis.connection->isQuiet()) {
        return true;
    }
    redis.connection.reset();  // one at a time
    redis.process = ForkGate::generation();
    redis.connection = connectRedis(redis.server, deadline, redis.fault);
    return redis.connection != nullptr;
}

}  // namespace

CRYPTO_REDIS* crypto_redis_open(const CRYPTO_REDIS_SERVER* pServer) {
    return serviceCall(static_cast<CRYPTO_REDIS*>(nullptr), [&]() -> CRYPTO_REDIS* {
        if (pServer == nullptr || pServer->cbSize != sizeof *pServer || pServer->szUrl == nullptr ||
            pServer->szUser == nullptr || pServer->szPasswordFile == nullptr || pServer->szCaFile == nullptr) {
            SetLastError(E_INVALIDARG);
            return nullptr;
        }
        auto redis = std::make_unique<CRYPTO_REDIS>();
        redis->server = readRedisServer({pServer->szUrl, pServer->szUser, pServer->szPasswordFile, pServer->szCaFile},
                                        redis->mistake);
        redis->fault = redis->mistake;
        return redis.release();
    });
}

BOOL crypto_redis_ask(CRYPTO_REDIS* pRedis, const CRYPT_DATA_BLOB* rgWord, DWORD cWord, DWORD dwTimeout,
                      DWORD cbLargest, const CRYPTO_REDIS_VALUE** ppReply) {
    return serviceCall(FALSE, [&]() -> BOOL {
        if (pRedis == nullptr || rgWord == nullptr || cWord == 0 || cbLargest == 0 || ppReply == nullptr) {
            return fail(E_INVALIDARG);
        }
        CRYPTO_REDIS& redis = *pRedis;
        crypto_redis_release(pRedis);
        redis.fault = redis.mistake;
        if (!redis.mistake.empty()) {
            return fail(E_INVALIDARG);
        }
        std::vector<std::string_view> words;
        std::transform(rgWord, rgWord + cWord, std::back_inserter(words), [](const CRYPT_DATA_BLOB& word) {
            return std::string_view(reinterpret_cast<const char*>(word.pbData), word.cbData);
        });
        const RedisDeadline deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(dwTimeout);
        if (!connect(redis, deadline)) {
            return fail(ERROR_INTERNET_CANNOT_CONNECT);
        }
        std::optional<RedisValue> reply = redis.connection->ask(words, deadline, cbLargest);
        if (!reply) {
            redis.fault = redis.connection->fault();
            return fail(redis.connection->isReplyTooLarge() ? ERROR_MORE_DATA : ERROR_INTERNET_CANNOT_CONNECT);
        }
        redis.reply = std::move(*reply);
        auto root = std::make_unique<CRYPTO_REDIS_VALUE[]>(1);
        root[0] = recordOf(redis.reply, redis);
        *ppReply = root.get();
        redis.records.push_back(std::move(root));
        return TRUE;
    });
}

void crypto_redis_release(CRYPTO_REDIS* pRedis) {
    const ForkGate gate;
    if (pRedis != nullptr) {
        pRedis->records = decltype(pRedis->records)();
        pRedis->reply = RedisValue();
    }
}

LPCSTR crypto_redis_fault(CRYPTO_REDIS* pRedis) {
    return pRedis == nullptr ? "" : pRedis->fault.c_str();
}

void crypto_redis_close(CRYPTO_REDIS* pRedis) {
    const ForkGate gate;
    delete pRedis;
}
