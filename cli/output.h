// Results as text and as JSON.
#pragma once

#include <string>
#include <vector>

#include "cli/check_result.h"
#include "cli/shown.h"

namespace tallow::cli {

/// Text: for each certificate the verdict, then the details.
std::string toText(const std::vector<CheckResult>& results);

/// {"certificates":[...]} with absent fields left out.
std::string toJson(const std::vector<CheckResult>& results);

/// One field in a line, its parts indented below.
std::string toText(const Shown& shown);

/// {"name of the root":{...}}
std::string toJson(const Shown& shown);

/// "tallow: name: what happened (0x...)", for standard error.
std::string failureLine(const std::string& name, const CheckError& error);

/// One line for each failure, for standard error; empty when there is none.
std::string failureLines(const std::vector<CheckResult>& results);

}  // namespace tallow::cli
