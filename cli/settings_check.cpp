#include "cli/settings_check.h"

#include <unistd.h>

#include <algorithm>
#include <map>
#include <new>
#include <string_view>
#include <vector>

#include "checker/text/safe_text.h"
#include "cli/closest_name.h"
#include "cli/input_files.h"
#include "cli/output.h"
#include "cli/run_inputs.h"
#include "cli/settings_table.h"
#include "cli/settings_values.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

using namespace text;

namespace {

// ---- Names ----------------------------------------------------------------------------------------------------------

std::string parentOf(const std::string& path) {
    return path.substr(0, path.rfind('\\'));
}

std::string lastNameOf(const std::string& path) {
    return path.substr(path.rfind('\\') + 1);
}

// "[config.Basalt]" of "\config\Basalt".
std::string tableText(const std::string& path) {
    std::string name = path.substr(1);
    std::replace(name.begin(), name.end(), '\\', '.');
    return "[" + name + "]";
}

// The paths of all tables that contain settings or such tables.
const std::vector<std::string>& knownTables() {
    static const std::vector<std::string> tables = [] {
        std::vector<std::string> all{""};
        for (const Setting& setting : allSettings()) {
            for (std::string path = parentOf(pathOf(setting)); !path.empty(); path = parentOf(path)) {
                if (std::find(all.begin(), all.end(), path) == all.end()) {
                    all.push_back(path);
                }
            }
        }
        return all;
    }();
    return tables;
}

bool isKnownTable(const std::string& path) {
    return std::find(knownTables().begin(), knownTables().end(), path) != knownTables().end();
}

const Setting* settingAt(const std::string& path) {
    static const std::map<std::string, const Setting*> byPath = [] {
        std::map<std::string, const Setting*> all;
        for (const Setting& setting : allSettings()) {
            all.emplace(pathOf(setting), &setting);
        }
        return all;
    }();
    const auto found = byPath.find(path);
    return found == byPath.end() ? nullptr : found->second;
}

// ---- Suggestions ----------------------------------------------------------------------------------------------------

std::string suggestTable(const std::string& path) {
    std::vector<std::string> siblings;
    for (const std::string& table : knownTables()) {
        if (!table.empty() && parentOf(table) == parentOf(path)) {
            siblings.push_back(lastNameOf(table));
        }
    }
    if (const std::string closest = closestName(lastNameOf(path), siblings); !closest.empty()) {
        return "did you mean " + tableText(parentOf(path) + '\\' + closest) + "?";
    }
    std::string all;
    for (const Setting& setting : allSettings()) {
        const std::string table = parentOf(pathOf(setting));
        if (isSameButForCase(lastNameOf(table), lastNameOf(path))) {
            return "did you mean " + tableText(table) + "?";
        }
        if (all.find(tableText(table)) == std::string::npos) {
            all += (all.empty() ? "" : ", ") + tableText(table);
        }
    }
    return "the tables are " + all;
}

std::string suggestKey(const std::string& path) {
    const std::string name = lastNameOf(path);
    std::vector<std::string> siblings;
    std::vector<std::string> others;
    std::string elsewhere;
    for (const Setting& setting : allSettings()) {
        const bool isSibling = parentOf(pathOf(setting)) == parentOf(path);
        (isSibling ? siblings : others).emplace_back(setting.name);
        if (isSameButForCase(name, setting.name)) {
            if (isSibling) {
                return "upper and lower case matter: write " + std::string(setting.name);
            }
            elsewhere = std::string(setting.name) + " belongs in [" + setting.table + "]";
        }
    }
    if (!elsewhere.empty()) {
        return elsewhere;
    }
    if (const std::string closest = closestName(name, siblings); !closest.empty()) {
        return "did you mean " + closest + "?";
    }
    if (const std::string closest = closestName(name, others); !closest.empty()) {
        const auto all = allSettings();
        const auto found = std::find_if(all.begin(), all.end(), [&](const Setting& s) { return s.name == closest; });
        return "did you mean " + closest + " of [" + found->table + "]?";
    }
    return "remove it; tallow settings shows the keys that exist";
}

// ---- The mistakes ---------------------------------------------------------------------------------------------------

// A mistake in the settings in force. Texts may contain any character.
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

struct Type {
    bool fits;
    const char* expected;
};

Type typeFor(const Setting& setting, unsigned int type) {
    switch (setting.kind) {
        case SettingKind::kNumber:
        case SettingKind::kAnyNumber:
            return {type == SUPPORT_SETTINGS_INTEGER, "a whole number"};
        case SettingKind::kFlag:
            return {type == SUPPORT_SETTINGS_BOOLEAN || type == SUPPORT_SETTINGS_INTEGER, "true or false"};
        case SettingKind::kText:
            return {type == SUPPORT_SETTINGS_STRING, "a text in quotes"};
        default:
            return {type == SUPPORT_SETTINGS_STRINGS || type == SUPPORT_SETTINGS_STRING, "a list of texts in quotes"};
    }
}

std::string exampleOf(const Setting& setting) {
    const bool isEmpty = setting.byDefault == nullptr || std::string_view(setting.byDefault) == "\"\"";
    const bool isText = setting.kind == SettingKind::kText;
    const std::string value = !isEmpty                              ? setting.byDefault
                              : setting.kind == SettingKind::kTexts ? "[\"...\"]"
                              : isText                              ? "\"...\""
                                                                    : std::to_string(setting.lowest);
    return std::string("write ") + setting.name + " = " + value + ", with your value";
}

// What is wrong with a key, without the place; no text when nothing is.
SettingsMistake mistakeAt(const std::string& path, unsigned int type) {
    SettingsMistake mistake;
    mistake.key = type == SUPPORT_SETTINGS_TABLE ? tableText(path) : lastNameOf(path);
    if (isKnownTable(path)) {
        if (type != SUPPORT_SETTINGS_TABLE) {
            mistake.key = tableText(path);
            mistake.text = " must be a table";
            mistake.hasWrongType = true;
            mistake.suggestion = "write " + tableText(path) + " in a line of its own, and its keys below";
        }
        return mistake;
    }
    const Setting* const setting = settingAt(path);
    if (setting == nullptr) {
        const bool isTable = type == SUPPORT_SETTINGS_TABLE;
        mistake.isUnknown = true;
        mistake.text = isTable                  ? " is not a table of settings"
                       : parentOf(path).empty() ? " is not a setting outside of a table"
                                                : " is not a setting of " + tableText(parentOf(path));
        mistake.suggestion = isTable ? suggestTable(path) : suggestKey(path);
        return mistake;
    }
    if (const auto [fits, expected] = typeFor(*setting, type); !fits) {
        mistake.key = setting->name;
        mistake.text = std::string(" must be ") + expected;
        mistake.hasWrongType = true;
        mistake.suggestion = exampleOf(*setting);
        return mistake;
    }
    const ValueFault fault = faultOf(*setting);
    mistake.text = fault.text;
    mistake.suggestion = fault.suggestion;
    return mistake;
}

struct Found {
    std::string file;
    std::vector<SettingsMistake> mistakes;
    bool isOutOfMemory = false;
};

void takeKey(void* context, const SUPPORT_SETTINGS_KEY* key) {
    auto& found = *static_cast<Found*>(context);
    try {
        const std::string path = key->path;
        if (path.empty()) {
            found.file = key->file;
            return;
        }
        if (!isKnownTable(parentOf(path))) {
            return;  // a mistake was found in what contains it
        }
        SettingsMistake mistake = mistakeAt(path, key->type);
        if (!mistake.text.empty()) {
            mistake.file = key->file;
            mistake.line = key->line;
            mistake.column = key->column;
            found.mistakes.push_back(std::move(mistake));
        }
    } catch (...) {  // the service is C
        found.isOutOfMemory = true;
    }
}

Found findMistakes() {
    Found found;
    const int result = support_settings_keys(nullptr, takeKey, &found);
    if (result != 0 || found.isOutOfMemory) {
        throw std::bad_alloc();
    }
    return found;
}

std::string textOf(const SettingsMistake& mistake) {
    return mistake.file + ":" + std::to_string(mistake.line) + ":" + std::to_string(mistake.column) + ": " +
           mistake.key + mistake.text + (mistake.suggestion.empty() ? "" : "; ") + mistake.suggestion;
}

// Of those that have no effect; empty when there are none.
std::string warningOf(const std::vector<SettingsMistake>& mistakes) {
    const auto isUnknown = [](const SettingsMistake& mistake) { return mistake.isUnknown; };
    const auto first = std::find_if(mistakes.begin(), mistakes.end(), isUnknown);
    if (first == mistakes.end()) {
        return {};
    }
    const auto more = std::count_if(first + 1, mistakes.end(), isUnknown);
    std::string line =
        first->file + ":" + std::to_string(first->line) + ": " + first->key + first->text + "; " + first->suggestion;
    line += line.ends_with('?') ? " " : ". ";
    line += more == 0 ? "It has no effect" : "It and " + std::to_string(more) + " more have no effect";
    return "tallow: settings: " + safeLine(line + "; see tallow settings --check") + '\n';
}

std::string jsonOf(const std::vector<SettingsMistake>& mistakes) {
    Shown list = Shown::list("mistakes");
    for (const SettingsMistake& mistake : mistakes) {
        Shown shown = Shown::object("");
        shown.add("file", mistake.file);
        shown.add("line", std::to_string(mistake.line));
        shown.add("column", std::to_string(mistake.column));
        shown.add("key", mistake.key);
        shown.add("text", mistake.key + mistake.text);
        shown.add("suggestion", mistake.suggestion);
        list.add(std::move(shown));
    }
    return toJson(kSettingsSchema, list);
}

std::string valueOf(const char* path) {
    const std::vector<std::string> texts = textsOf(*settingAt(path));
    return texts.empty() ? std::string() : texts.front();
}

// No mistake, but an administrator should know it; empty when there is nothing to say.
std::string warningOfSharedCache(const std::string& file) {
    const std::string server = valueOf("\\crypto\\cache");
    if (!server.starts_with("redis") || !valueOf("\\crypto\\cache_key_file").empty()) {
        return {};
    }
    return "tallow: " +
           safeLine(file + ": without cache_key_file, everyone who may write to " + withoutLogin(server) +
                    " can put back an older CRL or response that is still valid; create a key "
                    "(openssl rand -hex 32) and name its file on all machines") +
           '\n';
}

}  // namespace

Outcome checkSettings(const SettingsOptions& options) {
    RunOptions opened = options;
    if (!options.file.empty()) {
        if (!options.settings.empty()) {
            throw InputError("--settings", "names a file as well as --check; name one file");
        }
        opened.settings = options.file;
    }
    openSettingsFile(opened);
    const Found found = findMistakes();
    Outcome outcome;
    for (const SettingsMistake& mistake : found.mistakes) {
        outcome.err += "tallow: " + safeLine(textOf(mistake)) + '\n';
    }
    outcome.err += warningOfSharedCache(found.file);
    outcome.exitStatus = found.mistakes.empty() ? kExitGood : kExitUsage;
    if (options.json) {
        outcome.out = jsonOf(found.mistakes);
    } else if (found.mistakes.empty()) {
        const bool isThere = ::access(found.file.c_str(), F_OK) == 0;
        outcome.out = safeLine(found.file) + ": no mistakes" +
                      (isThere ? "" : " (the file does not exist, so every setting has its default)") + '\n';
    }
    return outcome;
}

SettingsReport reportOnSettings() {
    const std::vector<SettingsMistake> mistakes = findMistakes().mistakes;
    const auto wrong = std::find_if(mistakes.begin(), mistakes.end(),
                                    [](const SettingsMistake& mistake) { return mistake.hasWrongType; });
    return {wrong == mistakes.end() ? "" : textOf(*wrong), warningOf(mistakes)};
}

}  // namespace tallow::cli
