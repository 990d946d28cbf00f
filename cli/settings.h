// tallow settings: every setting, its value in force, and where it is set; or the mistakes in a settings file.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Throws InputError for a settings file that is broken.
Outcome runSettings(const SettingsOptions& options);

}  // namespace tallow::cli
