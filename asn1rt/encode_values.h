// BER encoder, the writers of BOOLEAN, INTEGER, ENUMERATED, NULL and OBJECT IDENTIFIER (X.690, clauses 8.2 to 8.4, 8.8
// and 8.19). What writers return is described in "asn1rt/encode.h". With TAG_EXPLICIT each adds its universal tag and
// length, with TAG_IMPLICIT contents only.
//
//   const std::int32_t version = 0;
//   int length = xe_integer(ctx, &version, TAG_EXPLICIT);      // writes 02 01 00
//
// The value is read through the pointer and stays the caller's. Failures are recorded in the context only by the
// writers of big integers.
#pragma once

#include <cstdint>

#include "asn1rt/encode.h"

extern "C" {

// A null pointer gives STATUS_BAD_VALUE. Numbers are written in the fewest octets, xe_unsigned and xe_uint16 with a
// 0x00 in front where the top bit is set, so that readers see them as not negative. xe_enum does not check the value
// against its type.

/// 0xFF for any non-zero value, as DER requires (X.690, clause 11.1).
[[nodiscard]] TALLOW_EXPORT int xe_boolean(ASN1CTXT* ctx, const std::uint8_t* value, ASN1TagType tagType) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_integer(ASN1CTXT* ctx, const std::int32_t* value, ASN1TagType tagType) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_unsigned(ASN1CTXT* ctx, const std::uint32_t* value, ASN1TagType tagType) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_uint16(ASN1CTXT* ctx, const std::uint16_t* value, ASN1TagType tagType) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_enum(ASN1CTXT* ctx, const std::int32_t* value, ASN1TagType tagType) noexcept;

/// An INTEGER of any size from NUL-terminated text. "0x" and "0b" introduce hexadecimal and binary digits that are the
/// two's complement form: whole octets with the top bit set are negative ("0x80" is -128, "0x0080" is 128), an
/// incomplete top octet is positive. Any other text is read as rtBigIntSetStr reads it with radix 0: "0o" introduces
/// octal, else it is decimal.
///
/// Failures are recorded in the context:
/// - STATUS_BAD_VALUE: null, empty or malformed text.
/// - STATUS_TOO_BIG: octal and decimal text beyond kMaxConvertedOctets.
/// - STATUS_BUFFER_FULL, STATUS_NO_MEMORY: as every writer.
[[nodiscard]] TALLOW_EXPORT int xe_bigint(ASN1CTXT* ctx, const char* text, ASN1TagType tagType) noexcept;

/// The same for a magnitude, from "0" or text that begins with "0x" or "0b" only; decimal text is STATUS_BAD_VALUE. The
/// digits are written unchanged: "0xFF" gives the single octet 0xFF, which readers take as -1, and a leading zero
/// digit that completes octets gives one 0x00 in front, needed or not. The text decides whether the top bit is
/// protected.
[[nodiscard]] TALLOW_EXPORT int xe_biguint(ASN1CTXT* ctx, const char* text, ASN1TagType tagType) noexcept;

/// Two octets, 05 00. With TAG_IMPLICIT nothing is written, and the result is 0.
[[nodiscard]] TALLOW_EXPORT int xe_null(ASN1CTXT* ctx, ASN1TagType tagType) noexcept;

/// Writes an OBJECT IDENTIFIER; arcs beyond the first two may be any 32-bit number. STATUS_BAD_OBJECT_ID, with nothing
/// written, for null, fewer than 2 or more than 128 arcs, a first arc above 2, or a second one above 39 under the first
/// arcs 0 and 1 (X.690, clause 8.19.4).
[[nodiscard]] TALLOW_EXPORT int xe_objid(ASN1CTXT* ctx, const ASN1OBJID* oid, ASN1TagType tagType) noexcept;

}  // extern "C"
