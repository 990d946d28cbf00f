// Decodes one ASN.1 value with OpenSSL, to its last octet.
#pragma once

#include <openssl/err.h>

#include <memory>
#include <new>

#include "platform/crypto/base/bytes.h"
#include "platform/crypto/base/openssl_handles.h"

namespace tallow::platform {

// Call after a failed call into OpenSSL. Exhausted memory must not be mistaken for malformed input.
inline void throwIfOutOfMemory() {
    if (ERR_GET_REASON(ERR_peek_last_error()) == ERR_R_MALLOC_FAILURE) {
        throw std::bad_alloc();
    }
}

// Null when `der` is malformed or continues after the value. Throws std::bad_alloc.
template <auto Decode, auto Free>
auto decodeWhole(ByteView der) {
    const unsigned char* position = der.data();
    auto* decoded = Decode(nullptr, &position, static_cast<long>(der.size()));
    if (decoded == nullptr) {
        // Other errors can hide that memory ran out, so only a second failure means that the value is malformed.
        throwIfOutOfMemory();
        position = der.data();
        decoded = Decode(nullptr, &position, static_cast<long>(der.size()));
    }
    using Object = std::remove_pointer_t<decltype(decoded)>;
    std::unique_ptr<std::remove_const_t<Object>, OpenSslFree<Free>> owner(decoded);
    if (owner == nullptr) {
        throwIfOutOfMemory();
    } else if (position != der.data() + der.size()) {
        owner.reset();
    }
    return owner;
}

}  // namespace tallow::platform
