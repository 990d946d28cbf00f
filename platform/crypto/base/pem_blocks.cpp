#include "platform/crypto/base/pem_blocks.h"

#include <openssl/evp.h>

#include <algorithm>
#include <climits>
#include <string>

namespace tallow::platform {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";
constexpr std::string_view kBlanks = " \t\r\n\v\f";

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

bool decodeBase64(std::string_view text, Bytes& bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string digits(text);
    std::erase_if(digits, [](char c) { return kBlanks.find(c) != std::string_view::npos; });
    const size_t sizeData = std::min(digits.find_last_not_of('=') + 1, digits.size());
    if (digits.empty() || digits.size() > INT_MAX || digits.size() % 4 != 0 || digits.size() - sizeData > 2 ||
        std::string_view(digits).substr(0, sizeData).find_first_not_of(kDigits) != std::string_view::npos) {
        return false;
    }
    bytes.resize(digits.size() / 4 * 3);
    const int size = EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(digits.data()),
                                     static_cast<int>(digits.size()));
    if (size < 0) {
        return false;
    }
    bytes.resize(static_cast<size_t>(size) - (digits.size() - sizeData));  // the decoder counts padding as octets
    return true;
}

bool decodeBlock(const PemBlock& block, Bytes& bytes) {
    return block.isComplete && decodeBase64(withoutHeaders(block.body), bytes);
}

}  // namespace tallow::platform
