#include "cli/settings.h"

#include <string_view>

#include "checker/text/safe_text.h"
#include "cli/input_files.h"
#include "cli/output.h"
#include "cli/run_inputs.h"
#include "cli/settings_table.h"
#include "handles/status.h"

namespace tallow::cli {

using namespace text;

namespace {

constexpr std::size_t kRemarkColumn = 48;

// A line of TOML with the value in force; a key without a value is commented out.
std::string lineOf(const Setting& setting) {
    const SettingValue value = valueOf(setting);
    std::string line = value.toml.empty() ? std::string("# ") + setting.name : setting.name + (" = " + value.toml);
    line.resize(std::max(line.size(), kRemarkColumn), ' ');
    line += value.isSet ? " # set" : value.toml.empty() ? " # default: absent" : " # default";
    const std::string range = std::to_string(setting.lowest) + " to " + std::to_string(setting.highest);
    line += value.ignored ? "; the number in the file is ignored: out of range " + range : "";
    if (value.isOdd) {
        line += "; out of bounds and used all the same, so correct it: " + range;
    }
    return safeLine(line) + '\n';
}

// For programs. The values are in TOML, as in the file.
Shown shownOf() {
    Shown list = Shown::list("settings");
    for (const Setting& setting : allSettings()) {
        const SettingValue value = valueOf(setting);
        Shown shown = Shown::object("");
        shown.add("table", setting.table);
        shown.add("key", setting.name);
        if (!value.toml.empty()) {
            shown.add("value", value.toml);
        }
        shown.add("source", value.isSet ? "file" : "default");
        if (value.ignored || value.isOdd) {
            shown.add("mistake", std::string("out of range ") + std::to_string(setting.lowest) + " to " +
                                     std::to_string(setting.highest) + (value.ignored ? ", ignored" : ", used"));
        }
        list.add(std::move(shown));
    }
    return list;
}

std::string linesOfAll() {
    std::string text;
    std::string_view table;
    for (const Setting& setting : allSettings()) {
        if (table != setting.table) {
            table = setting.table;
            text += std::string(text.empty() ? "" : "\n") + "[" + setting.table + "]\n";
        }
        text += lineOf(setting);
    }
    return text;
}

}  // namespace

Outcome runSettings(const SettingsOptions& options) {
    openSettings(options);
    const std::string text = options.json ? toJson(kSettingsSchema, shownOf()) : linesOfAll();
    // Values of the wrong type have been found by now.
    if (const std::string mistake = settingsMistake(); !mistake.empty()) {
        throw InputError("settings", mistake, status::kNoPolicy);
    }
    return {text, "", kExitGood};
}

}  // namespace tallow::cli
