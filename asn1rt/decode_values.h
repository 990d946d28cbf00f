// BER decoder, the readers of BOOLEAN, INTEGER, ENUMERATED, NULL and OBJECT IDENTIFIER. What holds for all readers is
// told in "asn1rt/decode.h".
//
// With TAG_EXPLICIT each reads its universal tag and the length itself, and `length` is ignored; STATUS_TAG_MISMATCH,
// without moving, when the octet at the position is another. With TAG_IMPLICIT `length` is the length that the caller
// read. STATUS_END_OF_BUFFER when the contents pass the end of the input.
#pragma once

#include <cstdint>

#include "asn1rt/decode.h"

extern "C" {

/// Stores the contents octet as it is, which in BER may be any. STATUS_BAD_LENGTH unless the length is exactly 1.
[[nodiscard]] TALLOW_EXPORT int xd_boolean(ASN1CTXT* ctx, std::uint8_t* value, ASN1TagType tagType,
                                           int length) noexcept;

/// Up to 4 octets, redundant leading ones included; STATUS_TOO_BIG above, STATUS_BAD_LENGTH for empty contents.
[[nodiscard]] TALLOW_EXPORT int xd_integer(ASN1CTXT* ctx, std::int32_t* value, ASN1TagType tagType,
                                           int length) noexcept;

/// Up to 4 octets, or 5 with a first octet of 0; STATUS_TOO_BIG above. No sign is seen: contents 0xFF are 255. Empty
/// contents are 0.
[[nodiscard]] TALLOW_EXPORT int xd_unsigned(ASN1CTXT* ctx, std::uint32_t* value, ASN1TagType tagType,
                                            int length) noexcept;

/// Up to 2 octets, or 3 with a first octet of 0; STATUS_TOO_BIG above, and for a length in long form.
[[nodiscard]] TALLOW_EXPORT int xd_uint16(ASN1CTXT* ctx, std::uint16_t* value, ASN1TagType tagType,
                                          int length) noexcept;

/// As xd_integer. A STATUS_TAG_MISMATCH is returned only, and not recorded in the context.
[[nodiscard]] TALLOW_EXPORT int xd_enum(ASN1CTXT* ctx, std::int32_t* value, ASN1TagType tagType, int length) noexcept;

/// An INTEGER of any size as hexadecimal text that xe_bigint reads back: "0x7f"; "0x080" for 128; "0xff" for -1; "0x0"
/// for 0 and for empty contents. The text belongs to the type heap. STATUS_END_OF_BUFFER is returned only, and not
/// recorded in the context. STATUS_NO_MEMORY.
[[nodiscard]] TALLOW_EXPORT int xd_bigint(ASN1CTXT* ctx, const char** text, ASN1TagType tagType, int length) noexcept;

/// STATUS_BAD_LENGTH for contents. With TAG_IMPLICIT it does nothing: contents that should not be there stay unread,
/// and the next reader fails on them.
[[nodiscard]] TALLOW_EXPORT int xd_null(ASN1CTXT* ctx, ASN1TagType tagType) noexcept;

/// STATUS_BAD_OBJECT_ID for more than 128 arcs, the first 128 being stored; STATUS_BAD_LENGTH for empty contents. Arcs
/// above 32 bits wrap, and a last arc that is cut short ends where the contents end.
[[nodiscard]] TALLOW_EXPORT int xd_objid(ASN1CTXT* ctx, ASN1OBJID* oid, ASN1TagType tagType, int length) noexcept;

}  // extern "C"
