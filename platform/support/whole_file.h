// Reading a file whole, with the system's own error when that fails.
#pragma once

#include <optional>
#include <string>

namespace tallow::platform {

// The content, or nothing and the errno value.
std::optional<std::string> readWholeFile(const std::string& path, int& systemError);

}  // namespace tallow::platform
