// The page around the certificates of a report.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "cli/deadlines.h"
#include "cli/report/html_writer.h"
#include "cli/report/mark.h"

namespace tallow::cli {

/// The run that the report is about.
struct ReportRun {
    Seconds begin, end;
    int exitStatus = 0;
    bool isMonitoring = false;  // the exit status is that of a monitoring plugin
    std::string mistake;        // why the run did not come to its end; empty: it did
};

/// What the page says of all certificates together.
struct ReportSummary {
    ReportRun run;
    std::array<std::size_t, kNumMarks> counts{};
    std::size_t numNotShown = 0;                    // without a row, see Report
    std::optional<Seconds> nextUpdate, nextExpiry;  // the earliest

    std::size_t numAll() const;
};

/// Everything before the first certificate: the policy that keeps the page from loading anything, style, summary and
/// the head of the table.
void addPageBegin(HtmlWriter& html, const ReportSummary& summary);

/// The end of the table, and the script.
void addPageEnd(HtmlWriter& html);

}  // namespace tallow::cli
