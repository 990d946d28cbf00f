// All settings of the library and of the services, from the tables in which these declare them, and their values in
// force.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tallow::cli {

enum class SettingKind { kText, kTexts, kFlag, kNumber, kAnyNumber };

/// One key. A kNumber outside of its bounds counts as not set. A kAnyNumber is used all the same: the library computes
/// with it in 32 bits, or rejects every request.
struct Setting {
    const char* table;
    const char* name;
    SettingKind kind;
    const char* byDefault;  // in TOML; null when absence has a meaning of its own
    long lowest;
    long highest;
};

/// In the order of settings.example.toml.
std::span<const Setting> allSettings();

/// As the Support service takes it: "\crypto\max_redirects".
std::string pathOf(const Setting& setting);

struct SettingValue {
    std::string toml;      // the value in force; empty when there is none
    bool isSet = false;    // in the file, and used
    bool ignored = false;  // in the file, and out of bounds
    bool isOdd = false;    // in the file, and used although out of bounds
    std::string file{};    // the file in which it appears; empty when it does not
    unsigned int line = 0;
};

/// Reads a value from the settings in force. A value of the wrong type breaks the settings, see settingsMistake(), and
/// counts as not set here.
SettingValue valueOf(const Setting& setting);

/// The default in TOML; empty when there is none. Directories of the user are those of this process.
std::string defaultToml(const Setting& setting);

/// The texts of a kText or kTexts that is set; empty when it is not, or has another type.
std::vector<std::string> textsOf(const Setting& setting);

/// The directory of the machine's or the user's stores; empty when there is none.
std::string storesFolder(bool machine);

}  // namespace tallow::cli
