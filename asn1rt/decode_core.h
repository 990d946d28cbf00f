// These functions read every octet of input: all bounds checks are here. None of them records a failure in the context;
// the public readers do that for the status they return.
#pragma once

#include <cstdint>

#include "asn1rt/decode.h"

namespace decoding {

inline constexpr std::uint8_t kConstructedBit = 0x20;

/// Octets between the position and the end of the input. The position may be past the end, since skipping does not
/// check it.
inline std::uint32_t remaining(const ASN1CTXT* ctx) {
    return ctx->buffer.size > ctx->buffer.byteIndex ? ctx->buffer.size - ctx->buffer.byteIndex : 0;
}

inline bool holds(const ASN1CTXT* ctx, int length) {
    return length >= 0 && static_cast<std::uint32_t>(length) <= remaining(ctx);
}

inline const std::uint8_t* position(const ASN1CTXT* ctx) {
    return ctx->buffer.data + ctx->buffer.byteIndex;
}

/// Moves on without a check; a length beyond what 32 bits can count stops there, which is past any input.
inline void skip(ASN1CTXT* ctx, int length) {
    const auto octets = static_cast<std::uint32_t>(length);
    const std::uint32_t room = UINT32_MAX - ctx->buffer.byteIndex;
    ctx->buffer.byteIndex += octets < room ? octets : room;
}

inline void setConstructed(ASN1CTXT* ctx, bool constructed) {
    if (constructed) {
        ctx->flags |= CTX_FLAG_CONSTRUCTED;
    } else {
        ctx->flags &= static_cast<std::uint16_t>(~CTX_FLAG_CONSTRUCTED);
    }
}

inline bool isConstructed(const ASN1CTXT* ctx) {
    return (ctx->flags & CTX_FLAG_CONSTRUCTED) != 0;
}

inline bool outerIndefinite(const ASN1CTXT* ctx) {
    return (ctx->flags & CTX_FLAG_OUTER_INDEFINITE) != 0;
}

/// Records a failure; `status` is returned in any case.
inline int enter(ASN1CTXT* ctx, int status) {
    return status == 0 ? 0 : rtErrSetData(&ctx->errInfo, status, nullptr, 0);
}

/// Whether the position is at the end-of-contents pair.
inline bool atEndOfContents(const ASN1CTXT* ctx) {
    return remaining(ctx) >= 2 && position(ctx)[0] == 0 && position(ctx)[1] == 0;
}

/// Whether the position is at the end of a value of `length` octets, or LEN_INDEFINITE, whose contents began at index
/// `start`.
inline bool atEndOfValue(const ASN1CTXT* ctx, std::uint32_t start, int length) {
    if (length == LEN_INDEFINITE) {
        return remaining(ctx) < 2 || atEndOfContents(ctx);
    }
    return remaining(ctx) == 0 || std::int64_t{ctx->buffer.byteIndex} - start >= length;
}

[[nodiscard]] int readLongLength(ASN1CTXT* ctx, int* length);

/// Reads length octets; see xd_len.
inline int readLength(ASN1CTXT* ctx, int* length) {
    if (remaining(ctx) == 0) {
        return STATUS_END_OF_BUFFER;
    }
    const std::uint8_t first = *position(ctx);
    if (first >= 0x80) {
        return readLongLength(ctx, length);
    }
    ++ctx->buffer.byteIndex;
    *length = first;
    return 0;
}

/// xd_setp without its limit on memory: for the values inside a message, which share the allowance of the whole.
[[nodiscard]] int bind(ASN1CTXT* ctx, const std::uint8_t* data, int size, ASN1TAG* tag, int* length);

/// Reads tag and length; see xd_tag_len.
[[nodiscard]] int readHeader(ASN1CTXT* ctx, ASN1TAG* tag, int* length, int options);

/// Reads one tag octet, which must equal `octet` (the bits of `ignored` aside), and the length; see xd_match1.
inline int readOctetHeader(ASN1CTXT* ctx, std::uint8_t octet, std::uint8_t ignored, int* length) {
    if (remaining(ctx) == 0) {
        return STATUS_END_OF_BUFFER;
    }
    const std::uint8_t found = *position(ctx);
    if (((found ^ octet) & ~ignored & 0xFF) != 0) {
        return STATUS_TAG_MISMATCH;
    }
    const bool constructed = (found & kConstructedBit) != 0;
    setConstructed(ctx, constructed);
    ++ctx->buffer.byteIndex;
    int read = 0;
    const int status = readLength(ctx, &read);
    if (status != 0) {
        return status;
    }
    if (read == LEN_INDEFINITE && !constructed) {
        return STATUS_BAD_LENGTH;
    }
    if (length != nullptr) {
        *length = read;
    }
    return 0;
}

/// Moves past the end-of-contents; see xd_MovePastEOC.
[[nodiscard]] int movePastEndOfContents(ASN1CTXT* ctx);

/// Skips one element; see xd_NextElement.
[[nodiscard]] int skipElement(ASN1CTXT* ctx);

/// See xd_match.
[[nodiscard]] int match(ASN1CTXT* ctx, ASN1TAG tag, int* length, int options);

/// The total length of the indefinite element in `size` octets at `data`, or a negative status; see xd_indeflen_ex.
[[nodiscard]] int indefiniteLength(const std::uint8_t* data, int size);

/// What readObjectId puts in place of an arc that 32 bits cannot hold or whose octets are padded or cut short. No
/// identifier in use has this arc.
inline constexpr std::uint32_t kUnreadableArc = 0xFFFFFFFE;

/// xd_objid for identifiers that decide something. There, an arc wraps beyond 32 bits, so that any known identifier has
/// twins in other octets. Here, only its own octets read as a known identifier: every other arc is kUnreadableArc.
[[nodiscard]] int readObjectId(ASN1CTXT* ctx, ASN1OBJID* oid, ASN1TagType tagType, int length);

/// A context that can read but not allocate, for a look into other octets in passing.
ASN1CTXT readOnlyContext();

}  // namespace decoding
