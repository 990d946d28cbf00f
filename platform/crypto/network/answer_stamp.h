// Shows whether an entry of a cache changed since it was read, without reading its answer.
#pragma once

#include <array>

#include "platform/crypto/base/bytes.h"
#include "platform/support/file_stamp.h"

namespace tallow::platform {

using AnswerDigest = std::array<BYTE, 32>;  // SHA-256

struct AnswerStamp {
    FileStamp file;         // of an entry in a directory
    AnswerDigest digest{};  // of the answer of an entry on a server; zeros: unknown

    bool operator==(const AnswerStamp& other) const noexcept { return file == other.file && digest == other.digest; }
};

}  // namespace tallow::platform
