// BER encoder: octet, bit and character strings, always in the primitive form (X.690, clauses 8.6, 8.7 and 8.23).
//
//   int length = xe_octstr(ctx, data, size, TAG_EXPLICIT);     // writes 04, length and contents
//
// With TAG_EXPLICIT each adds its tag and length, with TAG_IMPLICIT contents only. "asn1rt/encode.h" describes what
// writers return; failures are not recorded in the context. The values stay the caller's and are not changed. Alphabets
// and size constraints are checked by the schema code, not here.
#pragma once

#include <cstdint>

#include "asn1rt/encode.h"

extern "C" {

/// Writes an OCTET STRING of `numocts` octets. Null `data` writes no contents, and is no error.
[[nodiscard]] TALLOW_EXPORT int xe_octstr(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t numocts,
                                          ASN1TagType tagType) noexcept;

/// Writes a BIT STRING of `numbits` bits, the first the most significant of the first octet. The octets are written as
/// they are: for DER the caller must have cleared the unused bits of the last one, and dropped trailing clear bits of a
/// type with named bits (X.690, clause 11.2).
///
/// 0 bits give one contents octet 0x00 and `data` is not read; null `data` with bits writes nothing at all, not even a
/// tag, and returns 0.
[[nodiscard]] TALLOW_EXPORT int xe_bitstr(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t numbits,
                                          ASN1TagType tagType) noexcept;

/// Writes the octets of a NUL-terminated string under the tag word `tag`, which selects the string type. A string with
/// a NUL inside cannot be written. STATUS_BAD_VALUE for null.
[[nodiscard]] TALLOW_EXPORT int xe_charstr(ASN1CTXT* ctx, const char* text, ASN1TagType tagType, ASN1TAG tag) noexcept;

/// Write a BMPString and a UniversalString: each character of the host big-endian, under the tag word `tag`. No
/// characters give an empty value. STATUS_BAD_VALUE for a null record, or characters counted but not given.
[[nodiscard]] TALLOW_EXPORT int xe_16BitCharStr(ASN1CTXT* ctx, const ASN1T16BitCharStr* string, ASN1TagType tagType,
                                                ASN1TAG tag) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_32BitCharStr(ASN1CTXT* ctx, const ASN1T32BitCharStr* string, ASN1TagType tagType,
                                                ASN1TAG tag) noexcept;

}  // extern "C"
