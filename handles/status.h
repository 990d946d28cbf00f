// The status words of the library: one constant each, with the number and the text from one table.
//
// Style: a verdict is returned as a std::int32_t, 0 for success, or thrown inside ATL::CAtlException. Compare with
// these constants; never with a literal.
#pragma once

#include <cstdint>

#include "export.h"

namespace status {

inline constexpr std::int32_t kOk = 0;

#define TALLOW_STATUS(symbol, number, text) inline constexpr std::int32_t k##symbol = static_cast<std::int32_t>(number);
#include "handles/status_table.inc"
#undef TALLOW_STATUS

/// One line for people: what happened and what to do. Null for a number that the library does not know. The text is
/// constant and belongs to the library.
[[nodiscard]] TALLOW_EXPORT const char* text(std::int32_t status) noexcept;

/// The symbol of the status, as in "kNonceMismatch" without the k. Null for an unknown number.
[[nodiscard]] TALLOW_EXPORT const char* symbol(std::int32_t status) noexcept;

}  // namespace status
