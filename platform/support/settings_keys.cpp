// Where the keys of the settings file are, for messages.
#include <algorithm>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform/support/fork_gate.h"
#include "platform/support/settings.h"

namespace {

using tallow::platform::Settings;

constexpr size_t kMaximumName = 100;  // bounds the size of a path: tables nest at most 32 deep

struct FoundKey {
    std::string path;
    unsigned int type;
    toml::source_position position;
};

bool isString(const toml::node& node) {
    const auto* const text = node.as_string();
    return text != nullptr && text->get().find('\0') == std::string::npos;
}

unsigned int typeOf(const toml::node& node) {
    if (node.is_table()) {
        return SUPPORT_SETTINGS_TABLE;
    }
    if (isString(node)) {
        return SUPPORT_SETTINGS_STRING;
    }
    if (const toml::array* const array = node.as_array()) {
        return std::all_of(array->begin(), array->end(), isString) ? SUPPORT_SETTINGS_STRINGS : SUPPORT_SETTINGS_OTHER;
    }
    return node.is_integer()   ? SUPPORT_SETTINGS_INTEGER
           : node.is_boolean() ? SUPPORT_SETTINGS_BOOLEAN
                               : SUPPORT_SETTINGS_OTHER;
}

std::string nameInPath(std::string_view name) {
    std::string safe(name.substr(0, kMaximumName));
    std::replace_if(
        safe.begin(), safe.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F || c == '\\'; }, '?');
    return safe;
}

void collect(const toml::table& table, const std::string& path, std::vector<FoundKey>& found) {
    for (const auto& [key, node] : table) {
        const std::string pathOfKey = path + '\\' + nameInPath(key.str());
        found.push_back({pathOfKey, typeOf(node), key.source().begin});
        if (const toml::table* const inner = node.as_table()) {
            collect(*inner, pathOfKey, found);
        }
    }
}

// All keys in the order of the file.
std::vector<FoundKey> keysOf(const Settings& settings) {
    std::vector<FoundKey> found;
    collect(settings.table(), "", found);
    std::sort(found.begin(), found.end(), [](const FoundKey& left, const FoundKey& right) {
        return std::tie(left.position.line, left.position.column) <
               std::tie(right.position.line, right.position.column);
    });
    found.insert(found.begin(), {"", SUPPORT_SETTINGS_TABLE, {}});
    return found;
}

}  // namespace

int support_settings_keys(const char* path, PFN_SUPPORT_ON_KEY onKey, void* context) {
    if (onKey == nullptr) {
        return static_cast<int>(ERROR_INVALID_PARAMETER);
    }
    try {
        std::shared_ptr<Settings> settings;
        std::vector<FoundKey> found;
        {
            const tallow::platform::ForkGate gate;
            settings = Settings::inForce();
            found = keysOf(*settings);
        }
        bool isFound = path == nullptr;
        for (const FoundKey& key : found) {
            if (path != nullptr && (key.path.empty() || key.path != path)) {
                continue;
            }
            isFound = true;
            const SUPPORT_SETTINGS_KEY told{settings->path().c_str(), key.path.c_str(), key.type, key.position.line,
                                            key.position.column};
            onKey(context, &told);
        }
        return static_cast<int>(isFound ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND);
    } catch (...) {
        return static_cast<int>(ERROR_NOT_ENOUGH_MEMORY);
    }
}
