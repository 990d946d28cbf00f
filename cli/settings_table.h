// Every setting that somebody reads, with its default and its value in force.
#pragma once

#include <optional>
#include <span>
#include <string>

namespace tallow::cli {

enum class SettingKind { kText, kNumber, kFlag, kTexts };

/// One key. The default is the TOML of its value, null when the key has none and its absence means something of its
/// own. A number outside of its bounds counts as not set, or is used all the same where `takesAny`: the library then
/// computes with it in 32 bits, or rejects every request.
struct Setting {
    const char* table;
    const char* name;
    SettingKind kind;
    const char* byDefault;
    long lowest;
    long highest;
    bool takesAny = false;
};

/// In the order of the tables in settings.example.toml.
std::span<const Setting> allSettings();

struct SettingValue {
    std::string toml;      // of the value in force; empty when there is none
    bool isSet = false;    // in the file, and taken
    bool ignored = false;  // in the file, and out of bounds
    bool isOdd = false;    // in the file, and taken although out of bounds
};

/// Reads it from the settings in force. A value of the wrong kind breaks the settings, see settingsMistake(), and shows
/// here as one that is not set.
SettingValue valueOf(const Setting& setting);

/// The folder of the machine's or the user's stores; empty when there is none.
std::string storesFolder(bool machine);

}  // namespace tallow::cli
