// Single bits of an octet array. Bit 0 is the most significant bit of the first octet, as in BIT STRING (X.680, clause
// 22). The functions allocate nothing and record nothing in a context.
//
//   std::uint8_t usage[1] = {0x06};                  // keyCertSign (5) and cRLSign (6) in a KeyUsage of 8 bits
//   if (rtTestBit(usage, 8, 5) != 0) ...
#pragma once

#include <cstdint>

#include "export.h"

extern "C" {

/// Set or clear bit `index` of `numbits`, which is in bits; `bits` must have that many, in whole octets, and may be
/// null only for 0 bits. Return the previous state of the bit as its mask (non-zero when it was set: compare with 0,
/// not with 1), or STATUS_BIT_INDEX, with nothing changed, when `index` is not below `numbits`.
TALLOW_EXPORT int rtSetBit(std::uint8_t* bits, std::uint32_t numbits, std::uint32_t index) noexcept;
TALLOW_EXPORT int rtClearBit(std::uint8_t* bits, std::uint32_t numbits, std::uint32_t index) noexcept;

/// The mask of the bit when it is set, else 0; 0 also beyond the end, so that a missing bit reads as clear.
[[nodiscard]] TALLOW_EXPORT int rtTestBit(const std::uint8_t* bits, std::uint32_t numbits,
                                          std::uint32_t index) noexcept;

/// How many leading bits of `octet` reach down to its lowest set bit: 1 for 0x80, 8 for an odd octet, 0 for zero.
[[nodiscard]] TALLOW_EXPORT int rtOctetBitLen(std::uint8_t octet) noexcept;

}  // extern "C"
