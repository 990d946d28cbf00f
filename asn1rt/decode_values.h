// BER decoder, the readers of BOOLEAN, INTEGER, ENUMERATED, NULL and OBJECT IDENTIFIER. What holds for all readers is
// described in "asn1rt/decode.h".
//
//   std::int32_t version = 0;
//   int status = xd_integer(ctx, &version, TAG_EXPLICIT, 0);
//   if (status == STATUS_TAG_MISMATCH) status = rtErrReset(&ctx->errInfo);    // absent, the position has not moved
//
// With TAG_EXPLICIT each reads its universal tag and the length itself, and `length` is ignored; STATUS_TAG_MISMATCH,
// without moving, when the octet at the position is another. With TAG_IMPLICIT `length` is the length that the caller
// read. STATUS_END_OF_BUFFER when the contents pass the end of the input, STATUS_BAD_LENGTH for an indefinite or
// otherwise negative length. The value is unchanged after a failure unless it says otherwise.
#pragma once

#include <cstdint>

#include "asn1rt/decode.h"

extern "C" {

/// Stores the contents octet as it is, which in BER may be any: test for non-zero, not for 1 or 0xFF. STATUS_BAD_LENGTH
/// unless the length is exactly 1.
[[nodiscard]] TALLOW_EXPORT int xd_boolean(ASN1CTXT* ctx, std::uint8_t* value, ASN1TagType tagType,
                                           int length) noexcept;

/// Reads a signed INTEGER of up to 4 octets, redundant leading ones included; STATUS_TOO_BIG above, STATUS_BAD_LENGTH
/// for empty contents. Serial numbers are longer: use xd_bigint.
[[nodiscard]] TALLOW_EXPORT int xd_integer(ASN1CTXT* ctx, std::int32_t* value, ASN1TagType tagType,
                                           int length) noexcept;

/// Reads an INTEGER that is known not to be negative: up to 4 octets, or 5 with a first octet of 0; STATUS_TOO_BIG
/// above. No sign is seen: contents 0xFF are 255. Empty contents are 0.
[[nodiscard]] TALLOW_EXPORT int xd_unsigned(ASN1CTXT* ctx, std::uint32_t* value, ASN1TagType tagType,
                                            int length) noexcept;

/// The same of up to 2 octets, or 3 with a first octet of 0; STATUS_TOO_BIG above, and for a length in long form.
[[nodiscard]] TALLOW_EXPORT int xd_uint16(ASN1CTXT* ctx, std::uint16_t* value, ASN1TagType tagType,
                                          int length) noexcept;

/// Reads an ENUMERATED as xd_integer reads its contents. Whether the value is one of its type is for the caller to
/// check. A STATUS_TAG_MISMATCH is returned only, and not recorded in the context.
[[nodiscard]] TALLOW_EXPORT int xd_enum(ASN1CTXT* ctx, std::int32_t* value, ASN1TagType tagType, int length) noexcept;

/// Reads an INTEGER of any size as hexadecimal text that xe_bigint reads back: "0x7f"; "0x080" for 128; "0xff" for -1;
/// "0x0" for 0 and for empty contents. The text is NUL-terminated, two characters for each octet and a prefix, and
/// belongs to the type heap. Redundant leading zero octets are dropped, redundant 0xff octets are not: compare numbers
/// with rtBigIntStrCompare.
///
/// STATUS_END_OF_BUFFER is returned only, and not recorded in the context. STATUS_NO_MEMORY.
[[nodiscard]] TALLOW_EXPORT int xd_bigint(ASN1CTXT* ctx, const char** text, ASN1TagType tagType, int length) noexcept;

/// Reads a NULL. STATUS_BAD_LENGTH for contents. With TAG_IMPLICIT it does nothing: contents that should not be there
/// stay unread, and the next reader fails on them.
[[nodiscard]] TALLOW_EXPORT int xd_null(ASN1CTXT* ctx, ASN1TagType tagType) noexcept;

/// Reads an OBJECT IDENTIFIER into the caller's record, 516 octets that need not be cleared. Arcs above 32 bits wrap,
/// and a last arc that is cut short ends where the contents end, so different octets may read as one identifier: do not
/// take the result for proof of the octets.
///
/// STATUS_BAD_OBJECT_ID for more than 128 arcs, the first 128 being stored; STATUS_BAD_LENGTH for empty contents.
[[nodiscard]] TALLOW_EXPORT int xd_objid(ASN1CTXT* ctx, ASN1OBJID* oid, ASN1TagType tagType, int length) noexcept;

}  // extern "C"
