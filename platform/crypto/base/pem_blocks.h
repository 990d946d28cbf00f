// The blocks of PEM text (RFC 7468), as every reader here sees them: text may stand before, between and behind them,
// lines may end in CR LF or in nothing, and a block may follow another on the same line.
#pragma once

#include <string_view>
#include <vector>

#include "platform/crypto/base/bytes.h"

namespace tallow::platform {

struct PemBlock {
    std::string_view label;   // as far as it goes in a block that is cut off inside it
    std::string_view whole;   // from "-----BEGIN" to the end of its last line
    std::string_view body;    // what stands between the two lines
    bool isComplete = false;  // it has the line that ends it, before the next one begins
};

// The blocks in order, cut ones too. They point into `text`.
std::vector<PemBlock> pemBlocks(std::string_view text);

// Decodes base64, blanks and line ends aside; false when it is none.
bool decodeBase64(std::string_view text, Bytes& bytes);

// Decodes the body of a block. False when it is no base64, as the body of an encrypted one is not.
bool decodeBlock(const PemBlock& block, Bytes& bytes);

}  // namespace tallow::platform
