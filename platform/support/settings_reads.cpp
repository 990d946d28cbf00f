// The four reads of the settings.
#include <cstring>
#include <string>

#include "platform/support/fork_gate.h"
#include "platform/support/settings.h"

namespace {

using tallow::platform::Settings;

constexpr int code(DWORD error) {
    return static_cast<int>(error);
}

// Runs one read on the settings in force; any exception means out of memory.
template <typename Read>
int withSettings(const char* path, const void* output, Read read) {
    if (path == nullptr || output == nullptr) {
        return code(ERROR_INVALID_PARAMETER);
    }
    const tallow::platform::ForkGate gate;
    try {
        const std::shared_ptr<Settings> settings = Settings::inForce();
        return read(*settings);
    } catch (...) {
        return code(ERROR_NOT_ENOUGH_MEMORY);
    }
}

// A value of the wrong kind breaks the file: otherwise its reader would use a default and the mistake would go
// unnoticed.
int wrongKind(Settings& settings, const toml::node& node, const char* path, const char* expected) {
    settings.breakAt(node, std::string(path) + " should be " + expected);
    return code(ERROR_INVALID_DATA);
}

bool isText(const std::string& text) {
    return text.find('\0') == std::string::npos;
}

int copyOut(const std::string& value, size_t* size, char* buffer) {
    if (buffer == nullptr) {
        *size = value.size();
        return code(ERROR_SUCCESS);
    }
    if (*size < value.size()) {
        return code(ERROR_MORE_DATA);
    }
    std::memcpy(buffer, value.c_str(), value.size() + 1);
    *size = value.size();
    return code(ERROR_SUCCESS);
}

// The size query of a text read succeeds on a broken file, and the read itself then fails: see support_service.h.
int failText(int error, size_t* size, const char* buffer) {
    if (buffer != nullptr) {
        return error;
    }
    *size = 0;
    return code(ERROR_SUCCESS);
}

template <typename Fetch>
int readText(const char* path, size_t* size, char* buffer, const char* expected, Fetch fetch) {
    const int result = withSettings(path, size, [&](Settings& settings) {
        if (settings.broken()) {
            if (buffer != nullptr) {
                settings.tryAgain();
            }
            return failText(code(ERROR_BAD_FORMAT), size, buffer);
        }
        const toml::node* const node = settings.find(path);
        if (node == nullptr) {
            return code(ERROR_FILE_NOT_FOUND);
        }
        std::string value;
        if (!fetch(*node, value)) {
            return failText(wrongKind(settings, *node, path, expected), size, buffer);
        }
        return copyOut(value, size, buffer);
    });
    // A size query that fails because memory ran out must not look like an absent key either.
    return result == code(ERROR_NOT_ENOUGH_MEMORY) && size != nullptr ? failText(result, size, buffer) : result;
}

bool fetchString(const toml::node& node, std::string& value) {
    const auto* const text = node.as_string();
    if (text == nullptr || !isText(text->get())) {
        return false;
    }
    value = text->get();
    return true;
}

bool appendString(const toml::node& node, std::string& value) {
    std::string text;
    if (!fetchString(node, text)) {
        return false;
    }
    value.append(text.c_str(), text.size() + 1);
    return true;
}

bool fetchStrings(const toml::node& node, std::string& value) {
    const toml::array* const array = node.as_array();
    if (array == nullptr) {
        return appendString(node, value);
    }
    for (const toml::node& element : *array) {
        if (!appendString(element, value)) {
            return false;
        }
    }
    return true;
}

template <typename Value, typename Fetch>
int readScalar(const char* path, Value* value, const char* expected, Fetch fetch) {
    return withSettings(path, value, [&](Settings& settings) {
        if (settings.broken()) {
            return code(ERROR_BAD_FORMAT);
        }
        const toml::node* const node = settings.find(path);
        if (node == nullptr) {
            return code(ERROR_FILE_NOT_FOUND);
        }
        return fetch(*node, *value) ? code(ERROR_SUCCESS) : wrongKind(settings, *node, path, expected);
    });
}

}  // namespace

int support_registry_get_string(const char* path, size_t* size, char* buffer) {
    return readText(path, size, buffer, "a string", fetchString);
}

int support_registry_get_multi_string(const char* path, size_t* size, char* buffer) {
    return readText(path, size, buffer, "an array of strings", fetchStrings);
}

int support_registry_get_long(const char* path, long* value) {
    return readScalar(path, value, "an integer", [](const toml::node& node, long& result) {
        const auto* const number = node.as_integer();
        if (number == nullptr) {
            return false;
        }
        result = number->get();
        return true;
    });
}

int support_registry_get_bool(const char* path, int* value) {
    return readScalar(path, value, "true or false", [](const toml::node& node, int& result) {
        if (const auto* const flag = node.as_boolean()) {
            result = flag->get() ? 1 : 0;
            return true;
        }
        const auto* const number = node.as_integer();
        if (number == nullptr) {
            return false;
        }
        result = number->get() != 0 ? 1 : 0;
        return true;
    });
}
