// The periods of validity that a result depends on, and how they are drawn.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/check_result.h"
#include "cli/deadlines.h"
#include "cli/report/html_writer.h"

namespace tallow::cli {

/// Certificates, the verified response and CRLs. What is not known is left out.
struct Period {
    std::string what;
    std::optional<Seconds> from, until;  // without an end it is open
};
std::vector<Period> periodsOf(const CheckResult& result);

/// A table with the dates of each period, what they mean at `now`, and a bar; nothing without periods. The scale of the
/// bars is logarithmic on both sides of now, so that a response of minutes and a root of decades are visible together.
void addTimeline(HtmlWriter& html, const std::vector<Period>& periods, Seconds now);

/// <time> with "2026-01-02 03:04", to the minute; its attribute is exact.
void addTime(HtmlWriter& html, Seconds time);

}  // namespace tallow::cli
