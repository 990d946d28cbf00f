// The client of redis_client.h. Everything that calls hiredis is here and in redis_reply.cpp.
#include <hiredis/hiredis.h>
#include <openssl/crypto.h>

#include "platform/crypto/network/redis_reply.h"
#include "platform/crypto/network/redis_socket.h"

namespace tallow::platform {

namespace {

constexpr std::size_t kShortReply = 4096;  // to AUTH and SELECT

// The octets of a command, which may be a secret.
class Command {
public:
    explicit Command(std::span<const std::string_view> arguments) {
        std::vector<const char*> texts;
        std::vector<std::size_t> sizes;
        for (const std::string_view argument : arguments) {
            texts.push_back(argument.data());
            sizes.push_back(argument.size());
        }
        const auto size = redisFormatCommandArgv(&text_, static_cast<int>(texts.size()), texts.data(), sizes.data());
        if (size < 0) {
            throw std::bad_alloc();
        }
        size_ = static_cast<std::size_t>(size);
    }
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    ~Command() {
        OPENSSL_cleanse(text_, size_);
        redisFreeCommand(text_);
    }
    std::string_view octets() const { return {text_, size_}; }

private:
    char* text_ = nullptr;
    std::size_t size_ = 0;
};

class Connection : public RedisConnection {
public:
    bool open(const RedisServer& server, RedisDeadline deadline);
    std::optional<RedisValue> ask(std::span<const std::string_view> command, RedisDeadline deadline,
                                  std::size_t largestReply) override;
    bool isReplyTooLarge() const override { return isReplyTooLarge_; }
    bool isQuiet() override { return socket_.isQuiet(); }
    const std::string& fault() const override { return socket_.fault(); }

private:
    bool prepare(std::vector<std::string_view> command, const char* step, RedisDeadline deadline);

    RedisSocket socket_;
    bool isReplyTooLarge_ = false;
};

bool Connection::prepare(std::vector<std::string_view> command, const char* step, RedisDeadline deadline) {
    const std::optional<RedisValue> reply = ask(command, deadline, kShortReply);
    if (!reply) {
        return false;
    }
    return reply->kind == RedisValue::Kind::kStatus ||
           socket_.fail(std::string("the server refuses ") + step + ": " + errorCodeOf(*reply));
}

bool Connection::open(const RedisServer& server, RedisDeadline deadline) {
    if (!socket_.connect(server, deadline)) {
        return false;
    }
    if (!server.password.empty()) {
        std::vector<std::string_view> login{"AUTH", server.password};
        if (!server.user.empty()) {
            login.insert(login.begin() + 1, server.user);
        }
        if (!prepare(login, "the login", deadline)) {
            return false;
        }
    }
    const std::string database = std::to_string(server.address.database);
    return server.address.database == 0 || prepare({"SELECT", database}, "the database", deadline);
}

std::optional<RedisValue> Connection::ask(std::span<const std::string_view> command, RedisDeadline deadline,
                                          std::size_t largestReply) {
    if (!socket_.fault().empty() || !socket_.send(Command(command).octets(), deadline)) {
        return std::nullopt;
    }
    RedisReplyReader reader(largestReply);
    for (;;) {
        const std::string_view octets = socket_.receive(deadline);
        if (octets.empty()) {
            return std::nullopt;
        }
        switch (reader.feed(octets)) {
            case RedisReplyReader::Progress::kComplete:
                return reader.take();
            case RedisReplyReader::Progress::kMalformed:
                socket_.fail("the server does not speak the protocol of Redis");
                return std::nullopt;
            case RedisReplyReader::Progress::kTooLarge:
                isReplyTooLarge_ = true;
                socket_.fail("the reply is too large");
                return std::nullopt;
            case RedisReplyReader::Progress::kMore:
                break;
        }
    }
}

}  // namespace

#define TALLOW_TEXT_OF(number) #number
#define TALLOW_TEXT(number) TALLOW_TEXT_OF(number)

std::unique_ptr<RedisConnection> connectRedis(const RedisServer& server, RedisDeadline deadline, std::string& fault) {
    auto connection = std::make_unique<Connection>();
    if (!connection->open(server, deadline)) {
        fault = connection->fault();
        return nullptr;
    }
    return connection;
}

std::string hiredisVersion() {
    return TALLOW_TEXT(HIREDIS_MAJOR) "." TALLOW_TEXT(HIREDIS_MINOR) "." TALLOW_TEXT(HIREDIS_PATCH);
}

bool hasRedis() {
    return true;
}

}  // namespace tallow::platform
