// Owned octets and views of octets.
#pragma once

#include <span>
#include <vector>

#include "platform/crypto/crypto_service.h"

namespace tallow::platform {

using Bytes = std::vector<BYTE>;
using ByteView = std::span<const BYTE>;

inline ByteView view(const CRYPT_DATA_BLOB& blob) noexcept {
    return {blob.pbData, blob.cbData};
}

}  // namespace tallow::platform
