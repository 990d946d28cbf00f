// Bounds what the TOML reader is given: it walks keys and tables by recursion, so a file of a few kilobytes that nests
// them a thousand deep would overflow a small stack.
#pragma once

#include <cstddef>
#include <string_view>

namespace tallow::platform {

inline constexpr size_t kMaximumTomlSize = size_t{1} << 20;

// Whether tables, arrays and dotted keys nest deeper than any file that is meant to be read. Counts by the rules of
// TOML 1.0 for strings and comments; on text that is no TOML the result means nothing.
bool nestsTooDeep(std::string_view toml) noexcept;

}  // namespace tallow::platform
