// What the report says about a certificate at first sight.
#pragma once

#include <optional>
#include <string>

#include "cli/check_result.h"
#include "cli/report/html_writer.h"

namespace tallow::cli {

/// From the worst on. kFlawed: the certificate is good, but its staple is bad, or a file could not be written.
enum class Mark { kRevoked, kUnproven, kUnknown, kFlawed, kGood };
inline constexpr std::size_t kNumMarks = 5;

Mark markOf(const CheckResult& result);

/// The name of its class in the style sheet.
Markup classOf(Mark mark);

/// "revoked", "not proven", "unknown", "good, but staple missing" or "good".
std::string labelOf(const CheckResult& result);

/// Why it is not good, in one line; empty when it is.
std::string reasonOf(const CheckResult& result);

}  // namespace tallow::cli
