// The client of Redis servers for programs: a real redis-server, unusable parameters, and fork.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/crypto/redis_service.h"
#include "platform/support/support_service.h"
#include "tests/support/process.h"
#include "tests/support/redis_server.h"

namespace testkit {
namespace {

struct Close {
    void operator()(CRYPTO_REDIS* redis) const { crypto_redis_close(redis); }
};
using Handle = std::unique_ptr<CRYPTO_REDIS, Close>;

Handle opened(const std::string& url, const char* user = "", const char* passwordFile = "") {
    const CRYPTO_REDIS_SERVER server{sizeof server, url.c_str(), user, passwordFile, ""};
    return Handle(crypto_redis_open(&server));
}

// Null when there is no reply.
const CRYPTO_REDIS_VALUE* ask(const Handle& redis, const std::vector<std::string>& words, DWORD largest = 4096) {
    std::vector<CRYPT_DATA_BLOB> blobs;
    for (const std::string& word : words) {
        blobs.push_back({static_cast<DWORD>(word.size()),
                         const_cast<BYTE*>(reinterpret_cast<const BYTE*>(word.data()))});  // NOLINT
    }
    const CRYPTO_REDIS_VALUE* reply = nullptr;
    const BOOL isAnswered =
        crypto_redis_ask(redis.get(), blobs.data(), static_cast<DWORD>(blobs.size()), 5000, largest, &reply);
    return isAnswered != FALSE ? reply : nullptr;
}

TEST(RedisCalls, NameTheMistakeInWhatDescribesTheServer) {
    struct Row {
        const char *url, *user, *passwordFile, *fault;
    };
    for (const Row& row : {Row{"http://127.0.0.1/", "", "", "redis://"}, Row{"redis://a:b@127.0.0.1/", "", "", "login"},
                           Row{"redis://127.0.0.1/x", "", "", "DATABASE"},
                           Row{"redis://127.0.0.1/", "user", "", "without a password file"},
                           Row{"redis://127.0.0.1/", "", "/missing", "/missing: "}}) {
        const Handle redis = opened(row.url, row.user, row.passwordFile);
        ASSERT_TRUE(redis) << row.url;
        EXPECT_NE(std::string(crypto_redis_fault(redis.get())).find(row.fault), std::string::npos) << row.url;
        EXPECT_EQ(ask(redis, {"PING"}), nullptr) << row.url;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(E_INVALIDARG)) << row.url;
    }
    const CRYPTO_REDIS_SERVER incomplete{sizeof incomplete, "redis://127.0.0.1/", nullptr, "", ""};
    EXPECT_EQ(crypto_redis_open(&incomplete), nullptr);
}

TEST(RedisCalls, ReturnRepliesOfEveryKindUntilTheServerEnds) {
    if (!RedisServer::isInstalled()) {
        GTEST_SKIP() << "redis-server is not installed";
    }
    auto server = std::make_unique<RedisServer>();
    const Handle redis = opened(server->url());
    const CRYPTO_REDIS_VALUE* reply = ask(redis, {"EVAL", "return {7, 'a\\0b', false, {ok = 'OK'}, {'x'}}", "0"});
    ASSERT_TRUE(reply != nullptr && reply->dwKind == CRYPTO_REDIS_ARRAY && reply->cValue == 5);
    EXPECT_EQ(reply->rgValue[0].iValue, 7);
    EXPECT_EQ(std::string(reply->rgValue[1].pbText, reply->rgValue[1].cbText), std::string("a\0b", 3));
    EXPECT_EQ(reply->rgValue[2].dwKind, static_cast<DWORD>(CRYPTO_REDIS_NOTHING));
    EXPECT_EQ(reply->rgValue[3].dwKind, static_cast<DWORD>(CRYPTO_REDIS_STATUS));
    EXPECT_EQ(std::string(reply->rgValue[4].rgValue[0].pbText), "x");
    reply = ask(redis, {"NONSENSE"});
    EXPECT_TRUE(reply != nullptr && reply->dwKind == CRYPTO_REDIS_ERROR);
    EXPECT_STREQ(crypto_redis_fault(redis.get()), "");
    crypto_redis_release(redis.get());
    const std::vector<std::string> seven{"ECHO", "7 bytes"};  // $7, the text, and the ends of two lines
    EXPECT_EQ(ask(redis, seven, 12), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_MORE_DATA);
    EXPECT_STREQ(crypto_redis_fault(redis.get()), "the reply is too large");
    reply = ask(redis, seven, 13);
    ASSERT_NE(reply, nullptr) << "the next call connects again";
    EXPECT_STREQ(reply->pbText, "7 bytes");
    server.reset();
    EXPECT_EQ(ask(redis, {"PING"}), nullptr);
    EXPECT_STRNE(crypto_redis_fault(redis.get()), "");
    EXPECT_EQ(GetLastError(), ERROR_INTERNET_CANNOT_CONNECT);
}

TEST(RedisCalls, ConnectAnewInAChildOfFork) {
    if (!RedisServer::isInstalled()) {
        GTEST_SKIP() << "redis-server is not installed";
    }
    const RedisServer server;
    const Handle redis = opened(server.url());
    const CRYPTO_REDIS_VALUE* reply = ask(redis, {"CLIENT", "ID"});
    ASSERT_NE(reply, nullptr);
    const long long connection = reply->iValue;
    EXPECT_TRUE(isTrueInChild([&] {
        const CRYPTO_REDIS_VALUE* const inChild = ask(redis, {"CLIENT", "ID"});
        return inChild != nullptr && inChild->iValue != connection;
    }));
    reply = ask(redis, {"CLIENT", "ID"});
    EXPECT_TRUE(reply != nullptr && reply->iValue == connection);
}

}  // namespace
}  // namespace testkit
