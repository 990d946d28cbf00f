// Big integers: a sign-and-magnitude record, text in radix 2, 8, 10 and 16, and the two's complement octets of an
// INTEGER.
//
//   std::uint8_t inlineArea[512];
//   RtBigInteger big;
//   rtBigIntInit(&big);
//   big.mag = inlineArea;
//   big.allocated = sizeof inlineArea;      // optional: saves the heap for numbers that fit
//   int status = rtBigIntSetStr(ctx, &big, "-129", 0);
//   ... rtBigIntGetDataLen, rtBigIntGetData ...
//   rtBigIntFree(ctx, &big);
//
// Text in radix 2 and 16 is two's complement in whole octets ("0xFF" is -1, "0x00FF" is 255); decimal text is a sign
// and digits. Failures are returned and recorded in the context. The context may be null; then nothing can be recorded
// and everything that needs memory fails with STATUS_NO_MEMORY.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "export.h"

/// A big integer. All zero is the number 0.
struct RtBigInteger {
    std::int32_t numocts = 0;     // octets of `mag` in use
    std::uint8_t* mag = nullptr;  // magnitude, most significant octet first, no leading zero octet
    std::int32_t sign = 0;        // 1, -1, or 0 for zero
    std::int32_t allocated = 0;   // octets `mag` has room for
    std::uint8_t dynamic = 0;     // set when `mag` is heap memory
};

/// The longest magnitude, in octets (131,072 bits), that is converted from or to radix 8 and 10. Changing the base
/// takes time quadratic in the length, and numbers come from the network; what keys and serial numbers hold is far
/// below.
inline constexpr std::uint32_t kMaxConvertedOctets = 16384;

extern "C" {

/// Clears the record without freeing anything; it owns nothing afterward. Null is tolerated.
TALLOW_EXPORT void rtBigIntInit(RtBigInteger* big) noexcept;

/// Frees the magnitude when it is heap memory, and clears the record. `ctx` must be the one it was filled with. Null is
/// tolerated.
TALLOW_EXPORT void rtBigIntFree(ASN1CTXT* ctx, RtBigInteger* big) noexcept;

/// Reads NUL-terminated text. `radix` 0 takes it from the prefix ("0b", "0o", "0x", else 10). Leading blanks are
/// skipped. A magnitude that does not fit `allocated` moves to the type heap. Failures leave the number 0:
/// STATUS_BAD_ARGUMENT (radix), STATUS_BAD_VALUE (no digits, or a bad one), STATUS_TOO_BIG (radix 8 and 10 beyond
/// kMaxConvertedOctets), STATUS_NO_MEMORY.
[[nodiscard]] TALLOW_EXPORT int rtBigIntSetStr(ASN1CTXT* ctx, RtBigInteger* big, const char* text, int radix) noexcept;

/// The octets of the minimal two's complement form, at least 1.
[[nodiscard]] TALLOW_EXPORT std::int32_t rtBigIntGetDataLen(const RtBigInteger* big) noexcept;

/// Writes the two's complement form, most significant octet first, and returns its length (rtBigIntGetDataLen), or
/// STATUS_STRING_OVERFLOW when `capacity` is smaller.
[[nodiscard]] TALLOW_EXPORT std::int32_t rtBigIntGetData(ASN1CTXT* ctx, const RtBigInteger* big,
                                                         std::uint8_t* destination, std::int32_t capacity) noexcept;

/// An upper bound on the digits in `radix`, without sign and NUL; STATUS_BAD_ARGUMENT for a radix other than 2, 8,
/// 10, 16.
[[nodiscard]] TALLOW_EXPORT std::int32_t rtBigIntDigitsNum(const RtBigInteger* big, int radix) noexcept;

/// Writes NUL-terminated text without a prefix and returns 0. `capacity` counts the NUL. Radix 2 and 16 give the two's
/// complement form in whole octets, lowercase; radix 8 the digits of the two's complement form; radix 10 the magnitude
/// with a "-" in front when negative. The text is undefined after a failure:
/// - STATUS_BAD_ARGUMENT: null, a radix other than 2, 8, 10 and 16, or zero in radix 8 and 10, which has no text there.
/// - STATUS_STRING_OVERFLOW: too little room.
/// - STATUS_TOO_BIG: radix 8 and 10 beyond kMaxConvertedOctets.
/// - STATUS_NO_MEMORY: the heap has no room for the division.
[[nodiscard]] TALLOW_EXPORT int rtBigIntToString(ASN1CTXT* ctx, const RtBigInteger* big, int radix, char* text,
                                                 std::int32_t capacity) noexcept;

/// Compares two numbers given as text with an optional prefix: -1, 0 or 1. Text that cannot be read counts as 0.
[[nodiscard]] TALLOW_EXPORT int rtBigIntStrCompare(ASN1CTXT* ctx, const char* textA, const char* textB) noexcept;

}  // extern "C"
