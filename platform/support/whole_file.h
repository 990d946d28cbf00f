// Reading a file whole, with the system's own error when that fails.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tallow::platform {

inline constexpr size_t kMaximumFileSize = size_t{64} << 20;

// The content, or nothing and the errno value: EFBIG above kMaximumFileSize, so that no device fills the memory.
std::optional<std::string> readWholeFile(const std::string& path, int& systemError);

}  // namespace tallow::platform
