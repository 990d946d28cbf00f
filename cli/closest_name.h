// Which known name a misspelt one was probably meant to be.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tallow::cli {

/// Whether two names differ in the case of letters at most.
bool isSameButForCase(std::string_view left, std::string_view right);

/// The known name that takes the fewest changed, added and missing letters, case ignored; empty when the closest one
/// differs in more than one letter and more than a third of its letters.
std::string closestName(std::string_view name, std::span<const std::string> known);

}  // namespace tallow::cli
