// The mistakes in a settings file that the library does not report, because it never reads what it does not know, and
// uses a default in place of what it cannot use.
#pragma once

#include <string>

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// tallow settings --check: a line for each mistake on standard error.
Outcome checkSettings(const SettingsOptions& options);

/// For a person who runs another command; each is empty when there is none.
struct SettingsReport {
    std::string wrongType;  // the first value of the wrong type: "FILE:LINE:COLUMN: ..."
    std::string warning;    // a line about the keys that have no effect: "tallow: settings: FILE:LINE: ..."
};
SettingsReport reportOnSettings();

}  // namespace tallow::cli
