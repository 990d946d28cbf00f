// A verdict of the checker as the result that is printed.
#pragma once

#include "checker/checker.h"
#include "cli/check_result.h"

namespace tallow::cli {

/// `result` keeps its file, and subject and serial number where the verdict has none.
void fill(CheckResult& result, const Verdict& verdict);

}  // namespace tallow::cli
