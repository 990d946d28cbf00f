#include "platform/crypto/network/redis_reply.h"

#include <new>

namespace tallow::platform {

namespace {

constexpr std::size_t kMostElements = 65536;

RedisValue::Kind kindOf(int type) {
    return type == REDIS_REPLY_ERROR    ? RedisValue::Kind::kError
           : type == REDIS_REPLY_STATUS ? RedisValue::Kind::kStatus
                                        : RedisValue::Kind::kText;
}

}  // namespace

RedisReplyReader::RedisReplyReader(std::size_t largestReply) : octetsLeft_(largestReply), elementsLeft_(kMostElements) {
    functions_.createString = &addText;
    // The type of the count differs between releases of hiredis.
    functions_.createArray = [](const redisReadTask* task, auto count) -> void* { return addArray(task, count); };
    functions_.createInteger = &addInteger;
    functions_.createNil = &addNothing;
    functions_.freeObject = [](void*) {};  // root_ owns all values
    reader_.reset(redisReaderCreateWithFunctions(&functions_));
    if (!reader_) {
        throw std::bad_alloc();
    }
    reader_->privdata = this;
}

RedisReplyReader& RedisReplyReader::of(const redisReadTask* task) {
    return *static_cast<RedisReplyReader*>(task->privdata);
}

// Values are added depth first, so an array is never moved while one of its elements is being read.
RedisValue* RedisReplyReader::add(const redisReadTask* task, RedisValue::Kind kind) {
    RedisValue* value = &root_;
    if (task->parent != nullptr) {
        if (task->parent->obj == nullptr) {
            return nullptr;
        }
        auto& siblings = static_cast<RedisValue*>(task->parent->obj)->elements;
        value = &siblings.emplace_back();
    }
    value->kind = kind;
    return value;
}

void* RedisReplyReader::addText(const redisReadTask* task, char* text, std::size_t size) noexcept try {
    RedisValue* const value = of(task).add(task, kindOf(task->type));
    if (value != nullptr) {
        value->text.assign(text, size);
    }
    return value;
} catch (const std::bad_alloc&) {
    return nullptr;
}

void* RedisReplyReader::addInteger(const redisReadTask* task, long long integer) noexcept try {
    RedisValue* const value = of(task).add(task, RedisValue::Kind::kInteger);
    if (value != nullptr) {
        value->integer = integer;
    }
    return value;
} catch (const std::bad_alloc&) {
    return nullptr;
}

void* RedisReplyReader::addNothing(const redisReadTask* task) noexcept try {
    return of(task).add(task, RedisValue::Kind::kNothing);
} catch (const std::bad_alloc&) {
    return nullptr;
}

// No room is reserved for a count that the server only claims.
template <typename Count>
void* RedisReplyReader::addArray(const redisReadTask* task, Count count) noexcept try {
    RedisReplyReader& reader = of(task);
    if (count < Count{0} || static_cast<unsigned long long>(count) > reader.elementsLeft_) {
        reader.isTooLarge_ = true;
        return nullptr;
    }
    reader.elementsLeft_ -= static_cast<std::size_t>(count);
    return reader.add(task, RedisValue::Kind::kArray);
} catch (const std::bad_alloc&) {
    return nullptr;
}

RedisReplyReader::Progress RedisReplyReader::feed(std::string_view octets) {
    if (octets.size() > octetsLeft_) {
        return Progress::kTooLarge;
    }
    octetsLeft_ -= octets.size();
    void* reply = nullptr;
    if (redisReaderFeed(reader_.get(), octets.data(), octets.size()) != REDIS_OK ||
        redisReaderGetReply(reader_.get(), &reply) != REDIS_OK) {
        return isTooLarge_ ? Progress::kTooLarge : Progress::kMalformed;
    }
    if (reply == nullptr) {
        return Progress::kMore;
    }
    // Later releases read kinds of values that were not asked for, and which nothing was made for.
    return reply == &root_ && reader_->pos == reader_->len ? Progress::kComplete : Progress::kMalformed;
}

}  // namespace tallow::platform
