#include "cli/settings_table.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "checker/text/safe_text.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

using namespace text;

namespace {

constexpr std::string_view kPolicy = "config.cades.ocsppolicy";

// `byDefault` is the text of the table's field: what TOML writes, or the word absent.
constexpr Setting row(const char* table, const char* name, SettingKind kind, std::string_view byDefault, long lowest,
                      long highest) {
    const bool isPolicyNumber = kind == SettingKind::kNumber && table == kPolicy;
    return {table,
            name,
            isPolicyNumber ? SettingKind::kAnyNumber : kind,
            byDefault == "absent" ? nullptr : byDefault.data(),
            lowest,
            highest};
}

#define TALLOW_SETTING(table, key, kind, byDefault, lowest, highest, unit, description) \
    row(table, #key, SettingKind::k##kind, #byDefault, lowest, highest),
#define TALLOW_POLICY_SETTING TALLOW_SETTING
constexpr Setting kOfLibrary[] = {
#include "client/policy/policy_settings.inc"
};
constexpr Setting kOfServices[] = {
#include "platform/support/settings_table.inc"
};
#undef TALLOW_POLICY_SETTING
#undef TALLOW_SETTING

bool isSameKey(const Setting& a, const Setting& b) {
    return std::string_view(a.table) == b.table && std::string_view(a.name) == b.name;
}

// The services read some of the library's settings too.
std::vector<Setting> mergedSettings() {
    std::vector<Setting> all(std::begin(kOfLibrary), std::end(kOfLibrary));
    for (const Setting& setting : kOfServices) {
        if (std::none_of(all.begin(), all.end(), [&](const Setting& known) { return isSameKey(known, setting); })) {
            all.push_back(setting);
        }
    }
    return all;
}

// ---- Reading --------------------------------------------------------------------------------------------------------

std::optional<std::string> readBytes(int (*read)(const char*, size_t*, char*), const std::string& path) {
    size_t size = 0;
    if (read(path.c_str(), &size, nullptr) != 0) {
        return std::nullopt;
    }
    std::string value(size + 1, '\0');
    if (read(path.c_str(), &size, value.data()) != 0) {
        return std::nullopt;
    }
    value.resize(size);
    return value;
}

// A TOML basic string, escaped where needed. The password of an address is left out.
std::string quoted(std::string_view value) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string toml = "\"";
    for (const char c : withoutLogin(value)) {
        const auto octet = static_cast<unsigned char>(c);
        if (octet < 0x20 || octet == 0x7F) {
            toml += std::string("\\u00") + kDigits[octet >> 4U] + kDigits[octet & 0x0FU];
            continue;
        }
        toml += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return toml + '"';
}

std::string quotedList(const std::vector<std::string>& elements) {
    std::string toml = "[";
    for (const std::string& element : elements) {
        toml += (toml.size() == 1 ? "" : ", ") + quoted(element);
    }
    return toml + "]";
}

std::optional<std::vector<std::string>> readList(const Setting& setting) {
    const bool isList = setting.kind == SettingKind::kTexts;
    const std::optional<std::string> value =
        readBytes(isList ? support_registry_get_multi_string : support_registry_get_string, pathOf(setting));
    if (!value) {
        return std::nullopt;
    }
    std::vector<std::string> texts;
    if (!isList) {
        texts.push_back(*value);
        return texts;
    }
    // One after the other, each with its terminator.
    for (std::string_view rest = *value; !rest.empty(); rest.remove_prefix(texts.back().size() + 1)) {
        texts.emplace_back(rest.substr(0, rest.find('\0')));
    }
    return texts;
}

SettingValue readNumber(const Setting& setting) {
    long value = 0;
    if (support_registry_get_long(pathOf(setting).c_str(), &value) != 0) {
        return {};
    }
    const bool fits = value >= setting.lowest && value <= setting.highest;
    const bool isUsed = fits || setting.kind == SettingKind::kAnyNumber;
    return {isUsed ? std::to_string(value) : "", isUsed, !isUsed, isUsed && !fits};
}

SettingValue readFlag(const Setting& setting) {
    int value = 0;
    if (support_registry_get_bool(pathOf(setting).c_str(), &value) != 0) {
        return {};
    }
    return {value != 0 ? "true" : "false", true, false};
}

SettingValue readTexts(const Setting& setting) {
    const std::optional<std::vector<std::string>> texts = readList(setting);
    if (!texts) {
        return {};
    }
    return {setting.kind == SettingKind::kTexts ? quotedList(*texts) : quoted(texts->front()), true, false};
}

SettingValue read(const Setting& setting) {
    switch (setting.kind) {
        case SettingKind::kNumber:
        case SettingKind::kAnyNumber:
            return readNumber(setting);
        case SettingKind::kFlag:
            return readFlag(setting);
        default:
            return readTexts(setting);
    }
}

// A directory of the user's by the rules for base directories, as the Crypto service finds it.
std::string userDirectory(const char* variable, const char* inHome, const char* directory) {
    if (const char* base = secure_getenv(variable); base != nullptr && *base == '/') {
        return std::string(base) + directory;
    }
    const char* home = secure_getenv("HOME");
    return home == nullptr || *home != '/' ? std::string() : std::string(home) + inHome + directory;
}

std::string defaultStores() {
    return userDirectory("XDG_DATA_HOME", "/.local/share", "/tallow/stores");
}

// Where the key is in the file, if it is there.
void findPlace(const Setting& setting, SettingValue& value) {
    static_cast<void>(support_settings_keys(
        pathOf(setting).c_str(),
        [](void* context, const SUPPORT_SETTINGS_KEY* key) {
            auto& found = *static_cast<SettingValue*>(context);
            found.file = key->file;
            found.line = key->line;
        },
        &value));
}

}  // namespace

std::span<const Setting> allSettings() {
    static const std::vector<Setting> all = mergedSettings();
    return all;
}

std::string defaultToml(const Setting& setting) {
    const std::string_view name = setting.name;
    if (name == "user_stores" || name == "url_cache") {
        const std::string directory =
            name == "user_stores" ? defaultStores() : userDirectory("XDG_CACHE_HOME", "/.cache", "/tallow/ocsp");
        return directory.empty() ? "" : quoted(directory);
    }
    return setting.byDefault == nullptr ? "" : setting.byDefault;
}

// The service calls the key Name of [config.Basalt] "\config\Basalt\Name".
std::string pathOf(const Setting& setting) {
    std::string path = std::string("\\") + setting.table + "\\" + setting.name;
    for (char& c : path) {
        c = c == '.' ? '\\' : c;
    }
    return path;
}

std::vector<std::string> textsOf(const Setting& setting) {
    return readList(setting).value_or(std::vector<std::string>());
}

SettingValue valueOf(const Setting& setting) {
    SettingValue value = read(setting);
    findPlace(setting, value);
    if (!value.isSet) {
        value.toml = defaultToml(setting);
    }
    return value;
}

std::string storesFolder(bool machine) {
    const std::string_view name = machine ? "machine_stores" : "user_stores";
    for (const Setting& setting : kOfServices) {
        if (name != setting.name) {
            continue;
        }
        if (const std::optional<std::string> folder = readBytes(support_registry_get_string, pathOf(setting))) {
            return *folder;
        }
        const std::string_view byDefault = setting.byDefault == nullptr ? "" : setting.byDefault;
        return byDefault.empty() ? defaultStores()
                                 : std::string(byDefault.substr(1, byDefault.size() - 2));  // unquoted
    }
    return "";
}

}  // namespace tallow::cli
