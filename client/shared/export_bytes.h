// How requests and responses export their bytes: one size protocol for both.
#pragma once

#include <cstring>

#include "foundation/blob.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

/// Writes the size to `*size`; with a non-null `buffer` also the bytes, when `*size` octets are enough for them,
/// else throws kMoreData.
inline void exportBytes(const CBlob& bytes, unsigned char* buffer, unsigned long* size) {
    const unsigned long room = *size;
    *size = bytes.cbData();
    if (buffer == nullptr) {
        return;
    }
    if (bytes.cbData() > room) {
        ATL::AtlThrowImpl(status::kMoreData);
    }
    std::memcpy(buffer, bytes.pbData(), bytes.cbData());
}

}  // namespace Orvane::PKI::OCSP::Client
