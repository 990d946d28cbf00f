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

/// Binds the context to an output buffer of `size` octets, of which all but the last are used; nothing is written yet.
/// Null `data` allocates one that grows, from the heap, of 16384 octets when `size` is 0. A negative size counts as 0.
/// The limit that xd_setp has set on the type heap is removed. Returns 0 or a status of rtInitContextBuffer.
[[nodiscard]] TALLOW_EXPORT int xe_setp(ASN1CTXT* ctx, std::uint8_t* data, int size) noexcept;

/// The first octet of what has been written, inside the buffer; valid until the next write, which may move the buffer.
/// The length is the result of the writer that wrote last in front. Never free it.
TALLOW_EXPORT std::uint8_t* xe_getp(const ASN1CTXT* ctx) noexcept;

/// Frees a buffer that the context allocated, and with it the message; a caller's buffer is left unchanged. Writing
/// needs another xe_setp.
TALLOW_EXPORT void xe_free(ASN1CTXT* ctx) noexcept;

/// Grows a buffer of the context's own by `length` octets, at least by 16384; what was written moves to its new end, so
/// pointers into it do not survive. Writers call it by themselves. Returns 0, or with the buffer as it was
/// STATUS_BUFFER_FULL when it is the caller's, STATUS_NO_MEMORY.
[[nodiscard]] TALLOW_EXPORT int xe_expandBuffer(ASN1CTXT* ctx, std::uint32_t length) noexcept;

/// Puts `length` octets, without a header, in front. They may be part of the message itself. Returns `length`;
/// STATUS_BAD_VALUE for a null `source`.
[[nodiscard]] TALLOW_EXPORT int xe_memcpy(ASN1CTXT* ctx, const void* source, std::uint32_t length) noexcept;

/// Records the place of the member of `numocts` octets that was just written, for xe_derCanonicalSort. Call it directly
/// after the writer of the member, whose result is `numocts`.
TALLOW_EXPORT void xe_getBufLocDescr(const ASN1CTXT* ctx, std::uint32_t numocts, ASN1BufLocDescr* descriptor) noexcept;

/// Writes the identifier octets (X.690, clause 8.1.2) of a tag word: one for numbers up to 30, up to 6 for others.
[[nodiscard]] TALLOW_EXPORT int xe_tag(ASN1CTXT* ctx, ASN1TAG tag) noexcept;

/// Writes the length octets, in the shortest form (X.690, clause 10.1). LEN_INDEFINITE gives 0x80, and the
/// end-of-contents is the caller's to write; another negative length writes nothing and returns 0.
[[nodiscard]] TALLOW_EXPORT int xe_len(ASN1CTXT* ctx, int length) noexcept;

/// Writes tag and length before the `length` octets written before, and returns `length` plus the header. A negative
/// length is the failed result of another writer: it is returned as it is, and nothing is written. So writers can be
/// chained and only the last result be examined, as long as no sum is formed.
///
/// With LEN_INDEFINITE the length octet is 0x80 and the result counts only the header. STATUS_BAD_LENGTH when the sum
/// is above 2,147,483,647.
[[nodiscard]] TALLOW_EXPORT int xe_tag_len(ASN1CTXT* ctx, ASN1TAG tag, int length) noexcept;

/// Writes one arc of an object identifier in base 128 (X.690, clause 8.19.2), 1 to 5 octets.
[[nodiscard]] TALLOW_EXPORT int xe_identifier(ASN1CTXT* ctx, std::uint32_t value) noexcept;

}  // extern "C"
