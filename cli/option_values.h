// Values of options that are more than a text: durations, times, words.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "checker/checker.h"

namespace tallow::cli {

/// "90", "90s", "30m", "12h", "7d" or "2w", of at most 100 years; nothing for another text or 0.
std::optional<std::chrono::seconds> durationFrom(const std::string& text);

/// A whole number from 1 to `most`; nothing for another text.
std::optional<unsigned> countFrom(const std::string& text, unsigned most);

/// Seconds with up to three decimals, "0.5", as milliseconds; nothing for another text, 0, or more than a day.
std::optional<std::chrono::milliseconds> timeoutFrom(const std::string& text);

/// "2026-11-22", "2026-11-22T10:00:00Z", the same with a space, and "@1795341600", seconds since 1970. Always UTC.
/// Nothing for another text, and for a time that the clock cannot represent.
std::optional<Time> timeFrom(const std::string& text);

/// "require", "try" or "off".
std::optional<Nonce> nonceFrom(const std::string& text);

}  // namespace tallow::cli
