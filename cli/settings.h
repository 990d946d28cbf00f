// tallow settings: every setting, its value in force, and whether it is set.
#pragma once

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// Throws InputError for a settings file that is broken.
Outcome runSettings(const SettingsOptions& options);

}  // namespace tallow::cli
