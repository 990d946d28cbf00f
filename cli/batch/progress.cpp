#include "cli/batch/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "cli/batch/batch_totals.h"

namespace tallow::cli {

std::string progressText(std::size_t count, std::chrono::milliseconds elapsed, std::optional<double> part) {
    constexpr double kMs = 1000;
    constexpr double kPercent = 100;
    const auto ms = static_cast<double>(std::max<std::chrono::milliseconds::rep>(1, elapsed.count()));
    const auto rate = static_cast<std::size_t>(std::llround(static_cast<double>(count) * kMs / ms));
    std::string text = groupedNumber(count) + " checked, " + groupedNumber(rate) + " a second";
    if (part && *part > 0 && count > 0) {
        const auto left = std::chrono::milliseconds(static_cast<std::int64_t>(ms * (1 - *part) / *part));
        text += ", " + std::to_string(static_cast<int>(*part * kPercent)) + " % of the list, about " +
                durationText(left) + " left";
    }
    return text;
}

ProgressLine::ProgressLine() {
    const char* const terminal = std::getenv("TERM");
    isUsed_ = ::isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

void ProgressLine::show(const std::string& text) {
    if (isUsed_) {
        winsize size{};
        const bool hasWidth = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
        // A longer line would take two, of which only one is removed.
        std::cerr << "\r\x1B[K" << text.substr(0, hasWidth ? size.ws_col - 1U : text.size()) << std::flush;
        isShown_ = true;
    }
}

void ProgressLine::hide() {
    if (isShown_) {
        std::cerr << "\r\x1B[K" << std::flush;
        isShown_ = false;
    }
}

}  // namespace tallow::cli
