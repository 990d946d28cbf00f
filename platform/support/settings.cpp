// Reading the settings file, and which one is in force.
#include "platform/support/settings.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <system_error>

#include "platform/support/never_destroyed.h"
#include "platform/support/trace.h"
#include "platform/support/whole_file.h"

namespace tallow::platform {

namespace {

constexpr const char* kDefaultFile = "/etc/tallow/settings.toml";

struct Current {
    std::mutex mutex;
    std::shared_ptr<Settings> settings;
};

Current& current() {
    static NeverDestroyed<Current> instance;
    return *instance;
}

int openError(int systemError) {
    return static_cast<int>(systemError == ENOENT || systemError == ENOTDIR ? ERROR_FILE_NOT_FOUND
                                                                            : ERROR_ACCESS_DENIED);
}

// The message is one line whatever stands in the file.
std::string oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    return text;
}

}  // namespace

std::shared_ptr<Settings> Settings::read(const std::string& path, bool mayBeMissing) {
    auto settings = std::make_shared<Settings>();
    settings->path_ = path;
    int systemError = 0;
    std::optional<std::string> const text = readWholeFile(path, systemError);
    if (!text) {
        int const code = openError(systemError);
        if (!mayBeMissing || code != static_cast<int>(ERROR_FILE_NOT_FOUND)) {
            settings->fail(code, {}, std::generic_category().message(systemError));
        }
        return settings;
    }
    try {
        settings->table_ = toml::parse(*text, path);
    } catch (const toml::parse_error& failure) {
        settings->fail(static_cast<int>(ERROR_BAD_FORMAT), failure.source().begin, failure.description());
    }
    return settings;
}

std::shared_ptr<Settings> Settings::inForce() {
    Current& process = current();
    std::scoped_lock const lock(process.mutex);
    if (process.settings == nullptr) {
        process.settings = read(kDefaultFile, true);
    }
    return process.settings;
}

void Settings::putInForce(std::shared_ptr<Settings> settings) {
    Current& process = current();
    std::scoped_lock const lock(process.mutex);
    process.settings.swap(settings);
}

const toml::node* Settings::find(std::string_view path) const {
    const toml::node* node = &table_;
    while (node != nullptr && !path.empty() && path.front() == '\\') {
        path.remove_prefix(1);
        std::string_view const name = path.substr(0, path.find('\\'));
        const toml::table* const table = node->as_table();
        node = table == nullptr ? nullptr : table->get(name);
        path.remove_prefix(name.size());
    }
    return path.empty() && node != &table_ ? node : nullptr;
}

SUPPORT_SETTINGS_ERROR Settings::error() const {
    std::scoped_lock const lock(mutex_);
    return error_;
}

void Settings::breakAt(const toml::node& node, std::string_view reason) {
    fail(static_cast<int>(ERROR_INVALID_DATA), node.source().begin, reason);
}

void Settings::fail(int code, const toml::source_position& position, std::string_view reason) {
    std::scoped_lock const lock(mutex_);
    if (error_.code != 0) {
        return;
    }
    std::string message = path_;
    if (position.line != 0) {
        message += ":" + std::to_string(position.line) + ":" + std::to_string(position.column);
    }
    message += ": ";
    message += reason;
    message = oneLine(std::move(message));
    error_.code = code;
    error_.line = position.line;
    error_.column = position.column;
    message.copy(error_.message, sizeof error_.message - 1);
    broken_.store(true, std::memory_order_release);
}

}  // namespace tallow::platform

int support_settings_open(const char* path) {
    try {
        auto settings =
            tallow::platform::Settings::read(path == nullptr ? tallow::platform::kDefaultFile : path, path == nullptr);
        int const code = settings->error().code;
        tallow::platform::Settings::putInForce(std::move(settings));
        tallow::platform::traceFollowsSettings();
        return code;
    } catch (...) {
        return static_cast<int>(ERROR_NOT_ENOUGH_MEMORY);
    }
}

int support_settings_error(SUPPORT_SETTINGS_ERROR* error) {
    if (error == nullptr) {
        return static_cast<int>(ERROR_INVALID_PARAMETER);
    }
    try {
        *error = tallow::platform::Settings::inForce()->error();
        return error->code;
    } catch (...) {
        return static_cast<int>(ERROR_NOT_ENOUGH_MEMORY);
    }
}
