#include "platform/crypto/network/redis_client.h"

namespace tallow::platform {

std::string errorCodeOf(const RedisValue& error) {
    constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr std::size_t kLongest = 16;
    const std::string_view text(error.text);
    const std::string_view word = text.substr(0, text.find(' '));
    const bool isCode = error.kind == RedisValue::Kind::kError && !word.empty() && word.size() <= kLongest &&
                        word.find_first_not_of(kLetters) == std::string_view::npos;
    return isCode ? std::string(word) : "an unexpected reply";
}

}  // namespace tallow::platform
