// Octets, owned and viewed, as every part of the Crypto service passes them on.
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
