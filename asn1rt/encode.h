// BER encoder, the buffer, tags and lengths.
//
// A message is written back to front: a constructed value writes its last member first, each writer returns how many
// octets it added, and the sum goes into the length before them. Nothing is computed in advance or moved. What is
// written is DER wherever the value allows it.
//
//     xe_setp(ctx, nullptr, 0);
//     int total = xe_integer(ctx, &second, TAG_EXPLICIT);        // last member first
//     total += xe_integer(ctx, &first, TAG_EXPLICIT);
//     int size = xe_tag_len(ctx, kTagSequence, total);           // message: size octets at xe_getp(ctx)
//
// Each writer returns the octets it added, or a negative status: STATUS_BUFFER_FULL when a caller's buffer has
// no room, STATUS_NO_MEMORY when one of the context's cannot grow. After a failure the encoding is to be abandoned.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/types.h"
#include "export.h"

extern "C" {

/// Binds the context to an output buffer of `size` octets, of which all but the last are used. Null `data` asks for one
/// that grows, from the heap, of 16384 octets when `size` is 0. Returns 0 or a status of rtInitContextBuffer. The limit
/// that xd_setp has set on the type heap is removed.
[[nodiscard]] TALLOW_EXPORT int xe_setp(ASN1CTXT* ctx, std::uint8_t* data, int size) noexcept;

/// The first octet of what has been written; valid until the next write.
TALLOW_EXPORT std::uint8_t* xe_getp(const ASN1CTXT* ctx) noexcept;

/// Frees a buffer that the context allocated; a caller's buffer is left unchanged.
TALLOW_EXPORT void xe_free(ASN1CTXT* ctx) noexcept;

/// Grows a buffer of the context's own by `length` octets, at least by 16384; what was written moves to its new end.
/// Returns 0, STATUS_BUFFER_FULL when the buffer is the caller's, or STATUS_NO_MEMORY.
[[nodiscard]] TALLOW_EXPORT int xe_expandBuffer(ASN1CTXT* ctx, std::uint32_t length) noexcept;

/// Puts `length` octets in front. STATUS_BAD_VALUE for a null `source`.
[[nodiscard]] TALLOW_EXPORT int xe_memcpy(ASN1CTXT* ctx, const void* source, std::uint32_t length) noexcept;

/// Notes where the member of `numocts` octets that was just written lies, for xe_derCanonicalSort.
TALLOW_EXPORT void xe_getBufLocDescr(const ASN1CTXT* ctx, std::uint32_t numocts, ASN1BufLocDescr* descriptor) noexcept;

/// Writes the identifier octets (X.690, clause 8.1.2).
[[nodiscard]] TALLOW_EXPORT int xe_tag(ASN1CTXT* ctx, ASN1TAG tag) noexcept;

/// Writes the length octets, in the shortest form. LEN_INDEFINITE gives 0x80; another negative length writes nothing
/// and returns 0.
[[nodiscard]] TALLOW_EXPORT int xe_len(ASN1CTXT* ctx, int length) noexcept;

/// Writes tag and length before the `length` octets written before, and returns `length` plus the header. A
/// negative length is the failed result of another writer: it is returned as it is, and nothing is written. With
/// LEN_INDEFINITE the length octet is 0x80 and the result counts only the header.
[[nodiscard]] TALLOW_EXPORT int xe_tag_len(ASN1CTXT* ctx, ASN1TAG tag, int length) noexcept;

/// Writes one arc of an object identifier in base 128.
[[nodiscard]] TALLOW_EXPORT int xe_identifier(ASN1CTXT* ctx, std::uint32_t value) noexcept;

}  // extern "C"
