// BER decoder, the readers of octet, bit and character strings, in primitive and constructed form. What holds for all
// readers is described in "asn1rt/decode.h", the use of `tagType` and `length` in "asn1rt/decode_values.h".
//
// A caller who passes TAG_IMPLICIT must have read the tag with a call of this runtime just before, since
// CTX_FLAG_CONSTRUCTED gives the form. Strings of indefinite length are measured first, then copied; they are the one
// kind of value that consumes its own end-of-contents. Values come from the type heap (STATUS_NO_MEMORY), or point into
// the input for primitive octet and bit strings under CTX_FLAG_ZERO_COPY.
#pragma once

#include <cstdint>

#include "asn1rt/decode.h"

extern "C" {

/// Empty contents give a valid pointer to nothing.
[[nodiscard]] TALLOW_EXPORT int xd_octstr(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numocts,
                                          ASN1TagType tagType, int length) noexcept;

/// Into an array of the caller's, whose capacity in octets `numocts` holds on entry, and the octets read on return.
/// STATUS_STRING_OVERFLOW when the length (in constructed form the segment headers count too) is above the capacity,
/// STATUS_BAD_LENGTH for an indefinite one. With TAG_EXPLICIT only the primitive form is accepted; a length that cannot
/// be read is then recorded in the context, and the call goes on with the length it was given.
[[nodiscard]] TALLOW_EXPORT int xd_octstr_s(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t* numocts,
                                            ASN1TagType tagType, int length) noexcept;

/// Padding bits are stored as they come. No bits give null `data`. STATUS_BAD_VALUE for more than 7 unused bits,
/// STATUS_BAD_LENGTH for unused bits without any octet to hold them.
[[nodiscard]] TALLOW_EXPORT int xd_bitstr(ASN1CTXT* ctx, const std::uint8_t** data, std::uint32_t* numbits,
                                          ASN1TagType tagType, int length) noexcept;

/// Into an array of the caller's, whose capacity in bits `numbits` holds on entry, and the bits read on return.
/// STATUS_STRING_OVERFLOW when they do not fit.
[[nodiscard]] TALLOW_EXPORT int xd_bitstr_s(ASN1CTXT* ctx, std::uint8_t* destination, std::uint32_t* numbits,
                                            ASN1TagType tagType, int length) noexcept;

/// NUL-terminated. `tag` is the tag word expected with TAG_EXPLICIT (number up to 30). Contents are not compared with
/// the alphabet of the type; a NUL among them stays and shortens the text for those who read it as a C string.
[[nodiscard]] TALLOW_EXPORT int xd_charstr(ASN1CTXT* ctx, const char** text, ASN1TagType tagType, ASN1TAG tag,
                                           int length) noexcept;

/// Characters in host byte order, without a closing NUL; an incomplete last one is dropped. Empty contents give null.
[[nodiscard]] TALLOW_EXPORT int xd_16BitCharStr(ASN1CTXT* ctx, ASN1T16BitCharStr* string, ASN1TagType tagType,
                                                ASN1TAG tag, int length) noexcept;
[[nodiscard]] TALLOW_EXPORT int xd_32BitCharStr(ASN1CTXT* ctx, ASN1T32BitCharStr* string, ASN1TagType tagType,
                                                ASN1TAG tag, int length) noexcept;

/// Measures a constructed string of indefinite length whose first segment begins at the position, which does not
/// change: the octets of all segments, and the octets up to the end-of-contents, segment headers included.
/// STATUS_BAD_TAG for a segment whose tag word is not `segmentTag`, which includes segments that are constructed
/// themselves.
[[nodiscard]] TALLOW_EXPORT int xd_consStrIndefLenAndSize(ASN1CTXT* ctx, ASN1TAG segmentTag, int* contentLength,
                                                          int* encodedLength) noexcept;

}  // extern "C"
