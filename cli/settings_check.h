// The mistakes in a settings file that the library does not report, because it never reads what it does not know, and
// uses a default in place of what it cannot use.
#pragma once

#include <string>
#include <vector>

#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// A mistake in the settings in force. Texts may contain any character.
struct SettingsMistake {
    std::string file;
    unsigned int line = 0;
    unsigned int column = 0;
    std::string key;         // "max_redirects", or "[crypto]" for a table
    std::string text;        // what is wrong with it, continuing the key: " is not a setting"
    std::string suggestion;  // what to do; may be empty
    bool isUnknown = false;  // it has no effect at all
};

/// In the order of the file. A file that cannot be parsed has none here: see settingsMistake().
std::vector<SettingsMistake> settingsMistakes();

/// tallow settings --check: a line for each mistake on standard error.
Outcome checkSettings(const SettingsOptions& options);

/// "tallow: settings: FILE:LINE: ..." for a person who runs the command with keys that have no effect; empty when there
/// are none.
std::string unknownSettingsWarning();

}  // namespace tallow::cli
