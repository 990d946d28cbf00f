// The results, for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "cli/check_result.h"
#include "cli/shown.h"

namespace tallow::cli {

/// For people: the verdict of each certificate first, then what is known about it.
std::string toText(const std::vector<CheckResult>& results);

/// {"certificates":[...]} with absent fields left out.
std::string toJson(const std::vector<CheckResult>& results);

/// One field a line, with what belongs to it indented below.
std::string toText(const Shown& shown);

/// {"name of the root":{...}}
std::string toJson(const Shown& shown);

/// "tallow: name: what happened (0x...)", for standard error.
std::string failureLine(const std::string& name, const CheckError& error);

/// One line a failure, for standard error; empty when there is none.
std::string failureLines(const std::vector<CheckResult>& results);

}  // namespace tallow::cli
