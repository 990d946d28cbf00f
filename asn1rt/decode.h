// BER decoder: binding an input, tags and lengths, skipping and searching (X.690, clauses 8.1.2 to 8.1.5).
//
// The reader is lenient, as BER allows: long forms with leading zeros, indefinite lengths, constructed strings, and
// octets after the first complete element, which are out of reach. It is strict where a wrong value would derail it. No
// call reads outside the octets given to xd_setp, whatever the lengths claim and the flags say.
//
//     int length;
//     int status = xd_setp(ctx, data, size, nullptr, nullptr);
//     if (status == 0) status = xd_match1(ctx, 0x10, &length);   // SEQUENCE, the position now at its first member
//     if (status == 0) status = xd_integer(ctx, &version, TAG_EXPLICIT, 0);
//
// Every reader returns 0 or a negative status and records a failure in the context's errInfo. The position after a
// failure is undefined unless it says otherwise; a STATUS_TAG_MISMATCH never moves it. Outputs may be written even by a
// call that fails: use them after 0 only. Pointers may be null only where it says so.
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
/// otherwise it returns to the start of the element. In both cases the start is kept in the context's own slot, for
/// xu_RestoreBufferState. The length is not compared with what is left of the input when it is in short form.
///
/// - STATUS_END_OF_BUFFER: the input ends before or inside the header.
/// - STATUS_BAD_TAG: a tag number above 29 bits, or with too many leading zero groups.
/// - STATUS_BAD_LENGTH: an indefinite primitive, or as xd_len.
[[nodiscard]] TALLOW_EXPORT int xd_tag_len(ASN1CTXT* ctx, ASN1TAG* tag, int* length, int options) noexcept;

/// Reads the identifier octets only, and sets or clears CTX_FLAG_CONSTRUCTED by them. STATUS_END_OF_BUFFER or
/// STATUS_BAD_TAG.
[[nodiscard]] TALLOW_EXPORT int xd_tag(ASN1CTXT* ctx, ASN1TAG* tag) noexcept;

/// Reads length octets at the position; LEN_INDEFINITE for 0x80. A short form is not compared with what is left, the
/// reader of the contents does that.
///
/// - STATUS_END_OF_BUFFER: the input ends before the last length octet.
/// - STATUS_BAD_LENGTH: more than 4 subsequent octets, or a long form that exceeds the input; the latter not under
///   CTX_FLAG_NO_LENGTH_CHECK.
[[nodiscard]] TALLOW_EXPORT int xd_len(ASN1CTXT* ctx, int* length) noexcept;

/// Steps over a tag octet that the caller has already looked at, whatever it is, marks it as constructed and reads the
/// length. The statuses of xd_len.
[[nodiscard]] TALLOW_EXPORT int xd_Tag1AndLen(ASN1CTXT* ctx, int* length) noexcept;

/// Reads one tag octet, compared without its constructed bit, and the length (may be null): for tag numbers up to 30.
/// STATUS_TAG_MISMATCH when another octet is there, STATUS_BAD_LENGTH for an indefinite primitive, or as xd_len.
[[nodiscard]] TALLOW_EXPORT int xd_match1(ASN1CTXT* ctx, std::uint8_t tagOctet, int* length) noexcept;

/// Looks for `tag`, compared without its constructed bit, at the position, or with MATCH_SEEK anywhere after it, depth
/// first through constructed elements. On success the position is at the element, or after its header with
/// MATCH_ADVANCE, and `length` (may be null) receives its length. STATUS_TAG_MISMATCH when it is not there, with the
/// position as before (with MATCH_SKIP_FIRST: after what was skipped, or where nothing is left to skip, at the element
/// read last). Otherwise as xd_tag_len.
[[nodiscard]] TALLOW_EXPORT int xd_match(ASN1CTXT* ctx, ASN1TAG tag, int* length, int options) noexcept;

/// Counts the elements of a constructed value of `length` octets, or LEN_INDEFINITE, whose contents begin at the
/// position, which does not change. Only the outermost are counted, in time linear to the octets. A failure is that of
/// the element that cannot be skipped; the count is then useless.
[[nodiscard]] TALLOW_EXPORT int xd_count(ASN1CTXT* ctx, int length, std::uint32_t* count) noexcept;

/// Skips one element, an indefinite one with its end-of-contents. The contents of a definite one are not compared with
/// what is left; the next read notices. The statuses of xd_tag_len.
[[nodiscard]] TALLOW_EXPORT int xd_NextElement(ASN1CTXT* ctx) noexcept;

/// Skips past the end-of-contents of the indefinite element whose contents begin at the position. Any depth of nesting,
/// in time linear to the octets and without recursion. The statuses of xd_tag_len; STATUS_END_OF_BUFFER where the
/// end-of-contents is missing.
[[nodiscard]] TALLOW_EXPORT int xd_MovePastEOC(ASN1CTXT* ctx) noexcept;

/// The total length in octets, header and end-of-contents included, of the element of indefinite length that begins at
/// `data`, or a negative status. No context is needed and nothing is allocated.
///
/// - STATUS_BAD_LENGTH: the element is of definite length.
/// - STATUS_BAD_ARGUMENT: `data` is null.
/// - 0: `bufferSize`, in octets, is below 5, which is less than such an element with contents takes.
[[nodiscard]] TALLOW_EXPORT int xd_indeflen_ex(const std::uint8_t* data, int bufferSize) noexcept;

/// Copies `length` octets of input to `destination` and moves past them. STATUS_END_OF_BUFFER, with nothing copied and
/// the position unchanged, when fewer are left or `length` is negative.
[[nodiscard]] TALLOW_EXPORT int xd_memcpy(ASN1CTXT* ctx, void* destination, int length) noexcept;

/// Save and restore the position and the flags in `state`, or for null in the context's own slot, which every
/// xd_tag_len overwrites. The restored flags lose CTX_FLAG_END_REACHED.
TALLOW_EXPORT void xu_SaveBufferState(ASN1CTXT* ctx, ASN1BufferState* state) noexcept;
TALLOW_EXPORT void xu_RestoreBufferState(ASN1CTXT* ctx, const ASN1BufferState* state) noexcept;

}  // extern "C"
