// Limits the input of the TOML reader: it is recursive, so a file of a few kilobytes with keys and tables nested a
// thousand deep would overflow a small stack.
#pragma once

#include <cstddef>
#include <string_view>

namespace tallow::platform {

inline constexpr size_t kMaximumTomlSize = size_t{1} << 20;

// Whether tables, arrays and dotted keys nest deeper than 32 levels. Follows the rules of TOML 1.0 for strings and
// comments; for text that is not TOML the result is meaningless.
bool nestsTooDeep(std::string_view toml) noexcept;

}  // namespace tallow::platform
