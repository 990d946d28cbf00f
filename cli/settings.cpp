#include "cli/settings.h"

#include <string_view>

#include "checker/text/safe_text.h"
#include "cli/input_files.h"
#include "cli/output.h"
#include "cli/run_inputs.h"
#include "cli/settings_check.h"
#include "cli/settings_table.h"
#include "cli/settings_values.h"
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
    const std::string place = value.file + ":" + std::to_string(value.line);
    line += value.isSet ? " # set in " + place : value.toml.empty() ? " # default: absent" : " # default";
    const std::string range = std::to_string(setting.lowest) + " to " + std::to_string(setting.highest);
    line += value.ignored ? "; the number in " + place + " is ignored: out of range " + range : "";
    if (value.isOdd) {
        line += "; out of bounds and used all the same, so correct it: " + range;
    }
    return safeLine(line) + '\n';
}

std::string textOfAll() {
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

void addIfAny(Shown& shown, const char* name, const std::string& text) {
    if (!text.empty()) {
        shown.add(name, text);
    }
}

// Values and defaults in TOML, as in the text.
Shown shownSettings() {
    Shown list = Shown::list("settings");
    for (const Setting& setting : allSettings()) {
        const SettingValue value = valueOf(setting);
        Shown shown = Shown::object("");
        shown.add("table", setting.table);
        shown.add("key", setting.name);
        addIfAny(shown, "value", value.toml);
        shown.add("source", value.isSet ? "file" : "default");
        addIfAny(shown, "default", defaultToml(setting));
        if (!value.file.empty()) {
            shown.add("file", value.file);
            shown.add("line", std::to_string(value.line));
            const ValueFault fault = faultOf(setting);
            addIfAny(shown, "mistake", fault.text.empty() ? "" : setting.name + fault.text + "; " + fault.suggestion);
        }
        list.add(std::move(shown));
    }
    return list;
}

}  // namespace

Outcome runSettings(const SettingsOptions& options) {
    if (options.isCheck) {
        return checkSettings(options);
    }
    openSettings(options);
    const std::string text = options.json ? toJson(kSettingsSchema, shownSettings()) : textOfAll();
    // Values of the wrong type have been found by now.
    if (const std::string mistake = settingsMistake(); !mistake.empty()) {
        throw InputError("settings", mistake, status::kNoPolicy);
    }
    return {text, "", kExitGood};
}

}  // namespace tallow::cli
