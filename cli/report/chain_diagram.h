// How a verdict was reached: the steps, and the two chains that meet in it.
#pragma once

#include "cli/check_result.h"
#include "cli/report/html_writer.h"

namespace tallow::cli {

/// A list of the steps of the check, and which one failed.
void addSteps(HtmlWriter& html, const CheckResult& result);

/// Two columns of boxes, each from the root down: to the certificate, and to the response about it. Every box says in
/// words what was found.
void addDiagram(HtmlWriter& html, const CheckResult& result);

}  // namespace tallow::cli
