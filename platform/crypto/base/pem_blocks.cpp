#include "platform/crypto/base/pem_blocks.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>

namespace tallow::platform {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";
constexpr std::string_view kBlanks = " \t\r\n\v\f";

// The value of each base64 digit, below 64, or what else the octet is.
constexpr BYTE kBlank = 64;
constexpr BYTE kPad = 65;
constexpr BYTE kOther = 66;

constexpr std::array<BYTE, 256> base64Values() {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::array<BYTE, 256> values{};
    values.fill(kOther);
    for (size_t i = 0; i < kDigits.size(); ++i) {
        values.at(static_cast<BYTE>(kDigits[i])) = static_cast<BYTE>(i);
    }
    for (const char blank : kBlanks) {
        values.at(static_cast<BYTE>(blank)) = kBlank;
    }
    values.at('=') = kPad;
    return values;
}

BYTE base64Value(char c) {
    static constexpr std::array<BYTE, 256> kValues = base64Values();
    return kValues[static_cast<BYTE>(c)];
}

constexpr unsigned kBitsOfDigit = 6;
constexpr std::uint32_t kNoDigits = 1U << (4 * kBitsOfDigit);

// The 24 bits of four digits; kNoDigits when one of the characters is none.
std::uint32_t fourDigits(std::string_view text, size_t at) {
    const std::uint32_t first = base64Value(text[at]);
    const std::uint32_t second = base64Value(text[at + 1]);
    const std::uint32_t third = base64Value(text[at + 2]);
    const std::uint32_t fourth = base64Value(text[at + 3]);
    return (first | second | third | fourth) < kBlank
               ? ((first << kBitsOfDigit | second) << kBitsOfDigit | third) << kBitsOfDigit | fourth
               : kNoDigits;
}

// The block at the front of `text`; it ends where the next one begins.
PemBlock blockOf(std::string_view text) {
    PemBlock block;
    const std::string_view rest = text.substr(kBegin.size());
    const size_t sizeLabel = std::min(rest.find(kDashes), rest.find('\n'));
    block.label = rest.substr(0, sizeLabel);
    if (sizeLabel >= rest.size() || rest[sizeLabel] == '\n') {
        return block;
    }
    const std::string_view body = rest.substr(sizeLabel + kDashes.size());
    const std::string end = std::string(kEnd).append(block.label).append(kDashes);
    const size_t endAt = body.find(end);
    if (endAt != std::string_view::npos) {
        block.body = body.substr(0, endAt);
        block.isComplete = true;
    }
    return block;
}

// Skips the headers of RFC 1421: "Name: value" lines, ended by an empty line.
std::string_view withoutHeaders(std::string_view body) {
    const size_t start = std::min(body.find_first_not_of(kBlanks), body.size());
    body.remove_prefix(start);
    if (body.substr(0, body.find('\n')).find(':') == std::string_view::npos) {
        return body;
    }
    for (std::string_view const gap : {"\n\n", "\r\n\r\n"}) {
        if (const size_t at = body.find(gap); at != std::string_view::npos) {
            return body.substr(at + gap.size());
        }
    }
    return body;
}

}  // namespace

std::vector<PemBlock> pemBlocks(std::string_view text) {
    std::vector<PemBlock> blocks;
    for (size_t begin = text.find(kBegin); begin != std::string_view::npos;) {
        const size_t next = text.find(kBegin, begin + kBegin.size());
        blocks.push_back(blockOf(text.substr(begin, next - begin)));
        blocks.back().start = begin;
        begin = next;
    }
    return blocks;
}

// A bundle of roots has some 200,000 digits, and the command decodes it when it starts: four digits are taken at once
// wherever they follow each other.
bool decodeBase64(std::string_view text, Bytes& bytes) {
    Bytes decoded(text.size() / 4 * 3 + 3);
    BYTE* end = decoded.data();
    std::uint32_t group = 0;
    size_t numInGroup = 0;
    size_t numPads = 0;
    const auto put = [&](size_t count) {
        for (size_t i = 0; i < count; ++i) {
            *end++ = static_cast<BYTE>(group >> (16 - 8 * i));
        }
        group = 0;
        numInGroup = 0;
    };
    for (size_t at = 0; at < text.size();) {
        for (; numInGroup == 0 && numPads == 0 && text.size() - at >= 4; at += 4) {
            group = fourDigits(text, at);
            if (group == kNoDigits) {
                break;
            }
            put(3);
        }
        if (at == text.size()) {
            break;
        }
        const BYTE value = base64Value(text[at++]);
        if (value < kBlank && numPads == 0) {
            group = numInGroup == 0 ? value : group << kBitsOfDigit | value;
            if (++numInGroup == 4) {
                put(3);
            }
        } else if (value == kPad) {
            ++numPads;
        } else if (value != kBlank) {
            return false;
        }
    }
    if (numInGroup + numPads != (numInGroup == 0 ? 0 : 4) || numPads > 2 ||
        (numInGroup == 0 && end == decoded.data())) {
        return false;
    }
    if (numPads != 0) {
        group <<= kBitsOfDigit * numPads;
        put(3 - numPads);
    }
    decoded.resize(static_cast<size_t>(end - decoded.data()));
    bytes = std::move(decoded);
    return true;
}

bool decodeBlock(const PemBlock& block, Bytes& bytes) {
    return block.isComplete && decodeBase64(withoutHeaders(block.body), bytes);
}

}  // namespace tallow::platform
