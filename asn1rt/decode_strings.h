// BER decoder, the readers of octet, bit and character strings (X.690, clauses 8.6, 8.7 and 8.23), in primitive and
// constructed form. What holds for all readers is described in "asn1rt/decode.h", the use of `tagType` and `length` in
// "asn1rt/decode_values.h".
//
//   const std::uint8_t* octets = nullptr;
//   std::uint32_t count = 0;
//   int status = xd_octstr(ctx, &octets, &count, TAG_EXPLICIT, 0);      // octets: in the type heap, not to be freed
//
// A caller who passes TAG_IMPLICIT must have read the tag with a call of this runtime just before, since
// CTX_FLAG_CONSTRUCTED gives the form. Strings of indefinite length are measured first, then copied; they are the one
// kind of value that consumes its own end-of-contents. Values come from the type heap (STATUS_NO_MEMORY), or point into
// the input for primitive octet and bit strings under CTX_FLAG_ZERO_COPY. Memory is allocated for the octets that the
// input contains, never for what a length claims.
//
// A segment of a constructed string with another tag gives STATUS_BAD_TAG, contents that end before or after the length
// of the whole STATUS_BAD_LENGTH.
#pragma once

#include <cstdint>

#include "asn1rt/decode.h"

extern "C" {

/// Reads an OCTET STRING. `*numocts` receives the octets. Empty contents give a valid pointer to nothing.
[[nodiscard]] TALLOW_EXPORT int xd_octstr(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numocts,
                                          ASN1TagType tagType, int length) noexcept;

/// Reads an OCTET STRING into an array of the caller's, whose capacity in octets `*numocts` holds on entry, and the
/// octets read on return.
///
/// STATUS_STRING_OVERFLOW when the length (in constructed form the segment headers count too) is above the capacity,
/// STATUS_BAD_LENGTH for an indefinite one. With TAG_EXPLICIT only the primitive form is accepted; a length that cannot
/// be read is then recorded in the context, and the call continues with the length it was given.
[[nodiscard]] TALLOW_EXPORT int xd_octstr_s(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t* numocts,
                                            ASN1TagType tagType, int length) noexcept;

/// Reads a BIT STRING; `*numbits` receives the bits without the unused ones. Padding bits are stored as they come, so
/// compare bit by bit, not octet by octet. No bits give null `data`.
///
/// STATUS_BAD_VALUE for more than 7 unused bits, STATUS_BAD_LENGTH for unused bits without any octet to hold them.
[[nodiscard]] TALLOW_EXPORT int xd_bitstr(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numbits,
                                          ASN1TagType tagType, int length) noexcept;

/// Reads a BIT STRING into an array of the caller's, whose capacity in bits `*numbits` holds on entry, and the bits
/// read on return. STATUS_STRING_OVERFLOW when they do not fit; the array may then be partly filled. With TAG_EXPLICIT
/// only the primitive form is accepted.
[[nodiscard]] TALLOW_EXPORT int xd_bitstr_s(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t* numbits,
                                            ASN1TagType tagType, int length) noexcept;

/// Reads a character string as NUL-terminated text. `tag` is the tag word expected with TAG_EXPLICIT (number up to 30).
/// Contents are not compared with the alphabet of the type; a NUL among them stays and shortens the text for those who
/// read it as a C string: a name may then look like a shorter one.
[[nodiscard]] TALLOW_EXPORT int xd_charstr(ASN1CTXT* ctx, const char** text, ASN1TagType tagType, ASN1TAG tag,
                                           int length) noexcept;

/// Read a BMPString and a UniversalString: characters in host byte order, without a closing NUL; an incomplete last one
/// is dropped. Empty contents give null. The record is empty after a failure of the header.
[[nodiscard]] TALLOW_EXPORT int xd_16BitCharStr(ASN1CTXT* ctx, ASN1T16BitCharStr* string, ASN1TagType tagType,
                                                ASN1TAG tag, int length) noexcept;
[[nodiscard]] TALLOW_EXPORT int xd_32BitCharStr(ASN1CTXT* ctx, ASN1T32BitCharStr* string, ASN1TagType tagType,
                                                ASN1TAG tag, int length) noexcept;

/// Measures a constructed string of indefinite length whose first segment begins at the position, which does not change
/// after a success: the octets of all segments, and the octets up to the end-of-contents, segment headers included.
/// Both outputs are unchanged after a failure.
///
/// STATUS_BAD_TAG for a segment whose tag word is not `segmentTag`, which includes segments that are constructed
/// themselves; STATUS_END_OF_BUFFER where the end-of-contents is missing.
[[nodiscard]] TALLOW_EXPORT int xd_consStrIndefLenAndSize(ASN1CTXT* ctx, ASN1TAG segmentTag, int* contentLength,
                                                          int* encodedLength) noexcept;

}  // extern "C"
