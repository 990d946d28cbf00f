// The reply of a server of the shared cache, and the entry in it. The first octet says how many octets arrive at a
// time: the result must not depend on that.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "platform/crypto/network/cache_entry.h"
#include "platform/crypto/network/redis_reply.h"

namespace {

using namespace tallow::platform;

constexpr std::size_t kLargest = 1 << 16;
constexpr const char* kUrl = "u";

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::size_t elementsIn(const RedisValue& value) {
    std::size_t count = 1;
    for (const RedisValue& element : value.elements) {
        count += elementsIn(element);
    }
    return count;
}

bool same(const RedisValue& left, const RedisValue& right) {
    return left.kind == right.kind && left.integer == right.integer && left.text == right.text &&
           std::equal(left.elements.begin(), left.elements.end(), right.elements.begin(), right.elements.end(), same);
}

// The reply, when exactly one comes.
std::optional<RedisValue> read(std::string_view octets, std::size_t sizePart) {
    RedisReplyReader reader(kLargest);
    while (!octets.empty()) {
        const std::string_view part = octets.substr(0, sizePart);
        octets.remove_prefix(part.size());
        const RedisReplyReader::Progress progress = reader.feed(part);
        if (progress != RedisReplyReader::Progress::kMore) {
            const bool isWhole = progress == RedisReplyReader::Progress::kComplete && octets.empty();
            return isWhole ? std::optional(reader.take()) : std::nullopt;
        }
    }
    return std::nullopt;
}

void openEntry(ByteView octets) {
    const SharedEntries anyone("");
    const SharedEntries sealed("a key of this machine alone");
    require(!sealed.open(kUrl, octets) && !sealed.openFront(kUrl, octets));
    if (const auto opened = anyone.open(kUrl, octets)) {
        require(SharedEntries::sizeFront(kUrl) + opened->answer.size() == octets.size());
        require(anyone.openFront(kUrl, octets.first(SharedEntries::sizeFront(kUrl))).has_value());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    openEntry({data, size});
    if (size == 0 || size > kLargest) {
        return 0;
    }
    const std::string_view octets(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::optional<RedisValue> whole = read(octets, octets.size() + 1);
    const std::optional<RedisValue> parts = read(octets, data[0] % 16 + 1);
    require(whole.has_value() == parts.has_value());
    if (whole) {
        require(same(*whole, *parts) && elementsIn(*whole) <= 65536 + 1);
        require(errorCodeOf(*whole).find_first_of("\n\r\x1B") == std::string::npos);
        openEntry({reinterpret_cast<const BYTE*>(whole->text.data()), whole->text.size()});
    }
    return 0;
}
