// The status words of the library: one constant each, with the number and the text from one table.
//
//   const std::int32_t result = request.Send(response);
//   if (result == status::kNonceMismatch) ...
//   std::fprintf(stderr, "0x%08X: %s\n", result, status::text(result));
//
// A verdict is returned as a std::int32_t, 0 for success and negative otherwise, or thrown inside ATL::CAtlException.
// Compare with these constants, never with a literal.
#pragma once

#include <cstdint>

#include "export.h"

namespace status {

inline constexpr std::int32_t kOk = 0;

#define TALLOW_STATUS(symbol, number, text) inline constexpr std::int32_t k##symbol = static_cast<std::int32_t>(number);
#include "handles/status_table.inc"
#undef TALLOW_STATUS

/// One line in English for people: what happened and what to do. Null for a number that the library does not know, such
/// as a converted last error of the system. Constant; never free it.
[[nodiscard]] TALLOW_EXPORT const char* text(std::int32_t status) noexcept;

/// The symbol of the status without the k, as in "NonceMismatch"; "Ok" for 0. Null for an unknown number. Constant;
/// never free it.
[[nodiscard]] TALLOW_EXPORT const char* symbol(std::int32_t status) noexcept;

}  // namespace status
