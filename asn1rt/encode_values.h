// BER encoder, the writers of BOOLEAN, INTEGER, ENUMERATED, NULL and OBJECT IDENTIFIER. What writers return is
// described in "asn1rt/encode.h". With TAG_EXPLICIT each adds its universal tag and length, with TAG_IMPLICIT contents
// only.
#pragma once

#include <cstdint>

#include "asn1rt/encode.h"

extern "C" {

// A null pointer gives STATUS_BAD_VALUE.

/// 0xFF for any non-zero value, as DER wants it.
[[nodiscard]] TALLOW_EXPORT int xe_boolean(ASN1CTXT* ctx, const std::uint8_t* value, ASN1TagType tagType) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_integer(ASN1CTXT* ctx, const std::int32_t* value, ASN1TagType tagType) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_unsigned(ASN1CTXT* ctx, const std::uint32_t* value, ASN1TagType tagType) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_uint16(ASN1CTXT* ctx, const std::uint16_t* value, ASN1TagType tagType) noexcept;
[[nodiscard]] TALLOW_EXPORT int xe_enum(ASN1CTXT* ctx, const std::int32_t* value, ASN1TagType tagType) noexcept;

/// An INTEGER of any size from text. "0x" and "0b" introduce hexadecimal and binary digits that are the two's
/// complement form: whole octets with the top bit set are negative ("0x80" is -128, "0x0080" is 128), an incomplete top
/// octet is positive. Any other text is read as rtBigIntSetStr reads it with radix 0: "0o" introduces octal, else it is
/// decimal. STATUS_BAD_VALUE for null, empty or malformed text, STATUS_TOO_BIG for octal and decimal text beyond
/// kMaxConvertedOctets; failures are recorded in the context.
[[nodiscard]] TALLOW_EXPORT int xe_bigint(ASN1CTXT* ctx, const char* text, ASN1TagType tagType) noexcept;

/// The same for a magnitude, from "0" or text that begins with "0x" or "0b" only; decimal text is STATUS_BAD_VALUE. The
/// digits are written unchanged: "0xFF" gives the single octet 0xFF, which readers take as -1, and a leading zero
/// digit that completes octets gives one 0x00 in front, needed or not. The text decides whether the top bit is
/// protected.
[[nodiscard]] TALLOW_EXPORT int xe_biguint(ASN1CTXT* ctx, const char* text, ASN1TagType tagType) noexcept;

/// With TAG_IMPLICIT nothing is written.
[[nodiscard]] TALLOW_EXPORT int xe_null(ASN1CTXT* ctx, ASN1TagType tagType) noexcept;

/// STATUS_BAD_OBJECT_ID for null, fewer than 2 or more than 128 arcs, a first arc above 2, or a second one above 39
/// under the first arcs 0 and 1.
[[nodiscard]] TALLOW_EXPORT int xe_objid(ASN1CTXT* ctx, const ASN1OBJID* oid, ASN1TagType tagType) noexcept;

}  // extern "C"
