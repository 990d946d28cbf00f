// A verdict of the checker as the result that is printed.
#pragma once

#include "checker/checker.h"
#include "cli/check_result.h"

namespace tallow::cli {

/// `result` keeps its file, and subject and serial number where the verdict has none.
void fill(CheckResult& result, const Verdict& verdict);

/// The check did not come to its end. What was found before is not good then, but revoked stays revoked.
void fail(CheckResult& result, CheckError error);

}  // namespace tallow::cli
