// BER encoder: octet, bit and character strings, always in the primitive form (X.690, clauses 8.6, 8.7 and 8.23).
//
//   int length = xe_octstr(ctx, data, size, TAG_EXPLICIT);     // writes 04, length and contents
//
// "asn1rt/encode.h" describes what writers return. Alphabets and size constraints are checked by the schema code, not
// here.
#pragma once

#include <cstdint>

#include "asn1rt/encode.h"

extern "C" {

/// Null `data` writes no contents, and is no error.
[[nodiscard]] TALLOW_EXPORT int xe_octstr(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t numocts,
                                          ASN1TagType tagType) noexcept;

/// The octets are written as they are: for DER the caller must have cleared the unused bits of the last one. 0 bits
/// give one contents octet 0x00 and `data` is not read; null `data` with bits writes nothing at all, not even a tag,
/// and returns 0.
[[nodiscard]] TALLOW_EXPORT int xe_bitstr(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t numbits,
                                          ASN1TagType tagType) noexcept;

/// The octets of a NUL-terminated string under the tag word `tag`. STATUS_BAD_VALUE for null.
[[nodiscard]] TALLOW_EXPORT int xe_charstr(ASN1CTXT* ctx, const char* text, ASN1TagType tagType, ASN1TAG tag) noexcept;

/// Each character big-endian. STATUS_BAD_VALUE for a null record, or characters counted but not given.
[[nodiscard]] TALLOW_EXPORT int xe_16BitCharStr(ASN1CTXT* ctx, const ASN1T16BitCharStr* string, ASN1TagType tagType,
                                                ASN1TAG tag) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_32BitCharStr(ASN1CTXT* ctx, const ASN1T32BitCharStr* string, ASN1TagType tagType,
                                                ASN1TAG tag) noexcept;

}  // extern "C"
