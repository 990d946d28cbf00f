// The line on a terminal that says how far a run is.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace tallow::cli {

/// "1,234 checked, 56 a second, 12 % of the list, about 3 min 5 s left". `part` of the list is done, 0 to 1; without it
/// the end is not known.
std::string progressText(std::size_t count, std::chrono::milliseconds elapsed, std::optional<double> part);

/// The last line on standard error, if that is a terminal. One thread at a time.
class ProgressLine {
public:
    ProgressLine();

    bool isUsed() const { return isUsed_; }
    void show(const std::string& text);
    /// Before anything else is written to a terminal.
    void hide();

private:
    bool isUsed_ = false;
    bool isShown_ = false;
};

}  // namespace tallow::cli
