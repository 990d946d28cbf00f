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
    bool hasWrongType = false;
};

/// In the order of the file. A file that cannot be parsed has none here: see settingsMistake().
std::vector<SettingsMistake> settingsMistakes();

/// tallow settings --check: a line for each mistake on standard error.
Outcome checkSettings(const SettingsOptions& options);

/// For a person who runs another command; each is empty when there is none.
struct SettingsReport {
    std::string wrongType;  // the first value of the wrong type: "FILE:LINE:COLUMN: ..."
    std::string warning;    // a line about the keys that have no effect: "tallow: settings: FILE:LINE: ..."
};
SettingsReport reportOnSettings();

}  // namespace tallow::cli
