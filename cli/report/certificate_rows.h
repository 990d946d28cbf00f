// What the report's table contains about one certificate.
#pragma once

#include "cli/check_result.h"
#include "cli/deadlines.h"
#include "cli/report/html_writer.h"

namespace tallow::cli {

/// The cells of its row after the number, and a second row with all details, closed at first. `now` is when the check
/// ended.
void addCertificateRows(HtmlWriter& html, const CheckResult& result, Seconds now);

}  // namespace tallow::cli
