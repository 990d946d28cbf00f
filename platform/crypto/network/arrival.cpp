#include "platform/crypto/network/arrival.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace tallow::platform {

namespace {

bool beginsWith(std::string_view text, std::string_view word) {
    return text.size() >= word.size() && ::strncasecmp(text.data(), word.data(), word.size()) == 0;
}

// The value of a header line with this name, "name:" in lower case, without the blanks around it; null for others.
std::optional<std::string_view> valueOf(std::string_view line, std::string_view name) {
    constexpr std::string_view kBlanks = " \t\r\n";
    if (!beginsWith(line, name)) {
        return std::nullopt;
    }
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks, name.size()), line.size()));
    return line.substr(0, line.find_last_not_of(kBlanks) + 1);
}

// libcurl decompresses any transfer coding such as gzip, even if not asked for. Only chunked is accepted.
bool isInflating(std::string_view coding) {
    constexpr std::string_view kChunked = "chunked";
    return coding.size() != kChunked.size() || !beginsWith(coding, kChunked);
}

// libcurl ignores a length that is not a number or does not fit into 64 bits; a truncated body would then look
// complete.
bool isLength(std::string_view text, std::int64_t& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= 0;
}

}  // namespace

void Arrival::reset() {
    Arrival empty;
    empty.maxBodySize = maxBodySize;
    empty.maxHeaderSize = maxHeaderSize;
    *this = std::move(empty);
}

bool Arrival::exceedsWith(std::uint64_t octetsReceived) {
    numReceived = octetsReceived;
    const bool isTooMuch = hasCoding && numReceived / kMostAround > maxBodySize;
    breach = isTooMuch ? Breach::kAround : breach;
    return isTooMuch;
}

bool Arrival::isExact() const {
    return numStatusLines == 1 && numLengths == 1 && !hasCoding && std::cmp_equal(body.size(), length);
}

Breach Arrival::breachOf(std::string_view line) {
    if (beginsWith(line, "http/")) {
        ++numStatusLines;
        length = kNoLength;
        isHeaderComplete = false;
    }
    isHeaderComplete |= line == "\r\n" || line == "\n";
    if (line.size() > maxHeaderSize - headerSize) {
        return Breach::kHeaderSize;
    }
    if (const std::optional<std::string_view> coding = valueOf(line, "transfer-encoding:")) {
        hasCoding = true;
        return isInflating(*coding) ? Breach::kCoding : Breach::kNone;
    }
    if (const std::optional<std::string_view> text = valueOf(line, "content-length:")) {
        ++numLengths;
        const std::int64_t before = length;
        if (!isLength(*text, length)) {
            return Breach::kLength;
        }
        return before == kNoLength || before == length ? Breach::kNone : Breach::kLengths;
    }
    return Breach::kNone;
}

std::string Arrival::breachText(long long announced, const char* sizeSetting) const {
    switch (breach) {
        case Breach::kBodySize: {
            const std::string limit = std::to_string(maxBodySize);
            const std::string setting = std::string(" (setting ") + sizeSetting + ')';
            return announced > 0 ? "the body has " + std::to_string(announced) + " octets, and at most " + limit +
                                       " are read" + setting
                                 : "the body has more than " + limit + " octets, the most that are read" + setting;
        }
        case Breach::kHeaderSize:
            return "the header has more than " + std::to_string(maxHeaderSize) +
                   " octets, the most that are read (setting max_header_bytes)";
        case Breach::kCoding:
            return "the body is compressed (Transfer-Encoding), although that was not asked for";
        case Breach::kLength:
            return "Content-Length is no number";
        case Breach::kLengths:
            return "there are two Content-Length lines that differ";
        case Breach::kAround:
            return "the body comes in chunks that take more than " + std::to_string(kMostAround) + " times " +
                   std::to_string(maxBodySize) + " octets (setting " + sizeSetting + ')';
        case Breach::kHeaderLine:
            return "a header line is too long to be read";
        case Breach::kHeaderEnd:
            return "the connection was closed before the end of the header";
        case Breach::kNone:
            break;
    }
    return {};
}

// Returning less than was offered makes libcurl end the transfer.
std::size_t Arrival::onBody(char* data, std::size_t unit, std::size_t count, void* target) {
    auto& arrival = *static_cast<Arrival*>(target);
    const std::size_t size = unit * count;
    if (size > arrival.maxBodySize - arrival.body.size()) {
        arrival.breach = Breach::kBodySize;
        return 0;
    }
    try {
        arrival.body.insert(arrival.body.end(), data, data + size);
    } catch (...) {  // out of memory; nothing may be thrown through libcurl
        return 0;
    }
    return size;
}

std::size_t Arrival::onHeader(char* data, std::size_t unit, std::size_t count, void* target) {
    auto& arrival = *static_cast<Arrival*>(target);
    const std::size_t size = unit * count;
    arrival.breach = arrival.breachOf({data, size});
    if (arrival.breach != Breach::kNone) {
        return 0;
    }
    arrival.headerSize += size;
    return size;
}

}  // namespace tallow::platform
