// The blocks of PEM text (RFC 7468), as every reader here sees them: other text may appear before, between and after
// them, the line ends may be CR LF or missing, and a block may follow another one on the same line.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "platform/crypto/base/bytes.h"

namespace tallow::platform {

struct PemBlock {
    size_t start = 0;         // where its first line begins in the text
    std::string_view label;   // incomplete if the block is cut off inside it
    std::string_view body;    // what is between the two lines
    bool isComplete = false;  // it has the line that ends it, before the next one begins
};

// The blocks in order, cut ones too. Label and body point into `text`.
std::vector<PemBlock> pemBlocks(std::string_view text);

// Decodes base64, ignoring blanks and line ends; false when the text is not base64.
bool decodeBase64(std::string_view text, Bytes& bytes);

// Decodes the body of a block. False when it is not base64, as in an encrypted block with headers.
bool decodeBlock(const PemBlock& block, Bytes& bytes);

}  // namespace tallow::platform
