// A result as it was read from the server: who may write there may put anything in its place.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "cli/check_result.h"

namespace tallow::cli {

/// The longest result in octets.
inline constexpr std::size_t kLongestResult = 1U << 20;

struct ResultLine {
    std::string text;  // one line of JSON, all ASCII
    std::string job;
    CertificateState state = CertificateState::kError;
};

/// Nothing when it is no result of a worker.
std::optional<ResultLine> resultLineFrom(const std::string& text);

}  // namespace tallow::cli
