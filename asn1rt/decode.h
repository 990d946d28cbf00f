// BER decoder: binding an input, tags and lengths, skipping and searching.
//
// The reader is lenient, as BER allows: long forms with leading zeros, indefinite lengths, constructed strings, and
// octets after the first complete element, which are out of reach. It is strict where a wrong value would derail it.
// No call reads outside the octets given to xd_setp, whatever the lengths claim and the flags say.
//
//     int length;
//     int status = xd_setp(ctx, data, size, nullptr, nullptr);
//     if (status == 0) status = xd_match1(ctx, 0x10, &length);   // SEQUENCE, the position now at its first member
//
// Every reader returns 0 or a negative status and records a failure in the context's errInfo. The position after a
// failure is undefined unless it says otherwise; a STATUS_TAG_MISMATCH never moves it.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/types.h"
#include "export.h"

extern "C" {

/// Binds the context to `size` octets that begin with one element, and leaves the position at its first octet. The
/// input must outlive the decoding. `tag` (may be null) receives the tag, `length` (may be null) the full size of the
/// element, header included, or LEN_INDEFINITE. A `size` of 0 or below means that the caller vouches for the element
/// being complete: without a size nothing bounds the reading but the element's own length. STATUS_BAD_LENGTH when the
/// element is longer than the input, STATUS_NOT_INITIALIZED on a dead context; otherwise as xd_tag_len. Null `data`
/// means `size` zero octets, which the heap must have room for (STATUS_NO_MEMORY).
///
/// From here on, the type heap may grow by 64 times the element's size and 1 MiB; decoders then return
/// STATUS_NO_MEMORY.
[[nodiscard]] TALLOW_EXPORT int xd_setp(ASN1CTXT* ctx, const std::uint8_t* data, int size, ASN1TAG* tag,
                                        int* length) noexcept;

/// Reads one tag and length. With MATCH_ADVANCE the position is left after them (after a failure where it failed),
/// otherwise it returns to the start of the element. STATUS_END_OF_BUFFER, STATUS_BAD_TAG for a tag number above 29
/// bits, STATUS_BAD_LENGTH for an indefinite primitive or as xd_len.
[[nodiscard]] TALLOW_EXPORT int xd_tag_len(ASN1CTXT* ctx, ASN1TAG* tag, int* length, int options) noexcept;

/// Reads a tag only.
[[nodiscard]] TALLOW_EXPORT int xd_tag(ASN1CTXT* ctx, ASN1TAG* tag) noexcept;

/// Reads length octets. STATUS_BAD_LENGTH for more than 4 subsequent ones and for a long form that exceeds the input;
/// a short form is not compared with what is left, the reader of the contents does that.
[[nodiscard]] TALLOW_EXPORT int xd_len(ASN1CTXT* ctx, int* length) noexcept;

/// Steps over a tag octet that the caller has already read, marks it as constructed and reads the length.
[[nodiscard]] TALLOW_EXPORT int xd_Tag1AndLen(ASN1CTXT* ctx, int* length) noexcept;

/// Reads one tag octet, compared without its constructed bit, and the length (may be null).
[[nodiscard]] TALLOW_EXPORT int xd_match1(ASN1CTXT* ctx, std::uint8_t tagOctet, int* length) noexcept;

/// Looks for `tag`, compared without its constructed bit, at the position, or with MATCH_SEEK anywhere after it, depth
/// first through constructed elements. On success the position is at the element, or after its header with
/// MATCH_ADVANCE, and `length` (may be null) receives its length. STATUS_TAG_MISMATCH when it is not there, with the
/// position as before (with MATCH_SKIP_FIRST: after what was skipped, or where nothing is left to skip, at the element
/// read last). Otherwise as xd_tag_len.
[[nodiscard]] TALLOW_EXPORT int xd_match(ASN1CTXT* ctx, ASN1TAG tag, int* length, int options) noexcept;

/// Counts the elements of a constructed value of `length` octets, or LEN_INDEFINITE, whose contents begin at the
/// position, which does not change.
[[nodiscard]] TALLOW_EXPORT int xd_count(ASN1CTXT* ctx, int length, std::uint32_t* count) noexcept;

/// Skips one element. The contents of a definite one are not compared with what is left; the next read notices.
[[nodiscard]] TALLOW_EXPORT int xd_NextElement(ASN1CTXT* ctx) noexcept;

/// Skips past the end-of-contents of the indefinite element whose contents begin at the position. Any depth of
/// nesting, in time linear to the octets and without recursion.
[[nodiscard]] TALLOW_EXPORT int xd_MovePastEOC(ASN1CTXT* ctx) noexcept;

/// The total length of the element of indefinite length that begins at `data`, or a negative status; STATUS_BAD_LENGTH
/// when it is of definite length, STATUS_BAD_ARGUMENT for null, 0 when `bufferSize` is below 5.
[[nodiscard]] TALLOW_EXPORT int xd_indeflen_ex(const std::uint8_t* data, int bufferSize) noexcept;

/// Copies input to `destination` and moves past it. STATUS_END_OF_BUFFER, with nothing copied.
[[nodiscard]] TALLOW_EXPORT int xd_memcpy(ASN1CTXT* ctx, void* destination, int length) noexcept;

/// Save and restore the position and the flags in `state`, or for null in the context's own slot, which every
/// xd_tag_len overwrites. The restored flags lose CTX_FLAG_END_REACHED.
TALLOW_EXPORT void xu_SaveBufferState(ASN1CTXT* ctx, ASN1BufferState* state) noexcept;
TALLOW_EXPORT void xu_RestoreBufferState(ASN1CTXT* ctx, const ASN1BufferState* state) noexcept;

}  // extern "C"
