// Writing backward, shared by the encoder's sources: room is made once for all that a writer adds, then octets are
// placed without further checks.
#pragma once

#include <cstdint>
#include <cstring>

#include "asn1rt/encode.h"

namespace encoding {

/// Most octets of a header: 6 identifier octets (29-bit tag number) and 5 length octets.
inline constexpr std::uint32_t kMaxHeader = 11;

/// Makes at least `length` octets of room before what has been written.
inline int reserve(ASN1CTXT* ctx, std::uint32_t length) {
    return ctx->buffer.byteIndex >= length ? 0 : xe_expandBuffer(ctx, length);
}

/// Moves the start of the message back by `length` octets, which must have been reserved, and returns where they go.
inline std::uint8_t* claim(ASN1CTXT* ctx, std::uint32_t length) {
    ctx->buffer.byteIndex -= length;
    return ctx->buffer.data + ctx->buffer.byteIndex;
}

/// Writes a few octets in front of the message.
inline int prepend(ASN1CTXT* ctx, const std::uint8_t* octets, std::uint32_t length) {
    const int status = reserve(ctx, length);
    if (status != 0) {
        return status;
    }
    std::memcpy(claim(ctx, length), octets, length);
    return static_cast<int>(length);
}

// Each of these places octets before `end` and returns the first one.

inline std::uint8_t* placeLength(std::uint8_t* end, std::uint32_t length) {
    std::uint8_t* first = end;
    if (length < 0x80) {
        *--first = static_cast<std::uint8_t>(length);
        return first;
    }
    for (; length != 0; length >>= 8) {
        *--first = static_cast<std::uint8_t>(length);
    }
    const auto count = static_cast<std::uint8_t>(end - first);
    *--first = 0x80 | count;
    return first;
}

inline std::uint8_t* placeBase128(std::uint8_t* end, std::uint64_t value) {
    std::uint8_t* first = end;
    *--first = static_cast<std::uint8_t>(value & 0x7F);
    while ((value >>= 7) != 0) {
        *--first = static_cast<std::uint8_t>(0x80 | (value & 0x7F));
    }
    return first;
}

inline std::uint8_t* placeTag(std::uint8_t* end, ASN1TAG tag) {
    const ASN1TAG number = tag & kTagNumberMask;
    const ASN1TAG classAndForm = (tag & ~kTagNumberMask) >> 24;
    std::uint8_t* first = end;
    if (number <= 30) {
        *--first = static_cast<std::uint8_t>(classAndForm | number);
        return first;
    }
    first = placeBase128(first, number);
    *--first = static_cast<std::uint8_t>(classAndForm | 31);
    return first;
}

}  // namespace encoding
