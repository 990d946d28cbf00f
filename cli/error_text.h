// Why there is no verified answer, in words, with the option that helps.
#pragma once

#include <cstdint>
#include <string>

#include "cli/check_result.h"

namespace tallow::cli {

/// A cause, with the option that helps against this status.
CheckError explain(std::int32_t code, const std::string& cause);

/// The options against the failures of these attempts, " (--timeout, --url)"; empty for none.
std::string optionsThatHelp(const std::vector<Attempt>& attempts);

/// The text of a status; `step` is what was being done, "building the request".
CheckError explainStatus(std::int32_t code, const std::string& step);

/// Explains the current exception like explainStatus; only inside a catch block. A settings file that was found broken
/// on the way is reported with line and column.
CheckError explainCaught(const std::string& step);

}  // namespace tallow::cli
