// Reading the settings file, and which one is in force.
#include "platform/support/settings.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <system_error>

#include "platform/support/file_trust.h"
#include "platform/support/fork_gate.h"
#include "platform/support/settings_table.h"
#include "platform/support/toml_nesting.h"
#include "platform/support/trace.h"
#include "platform/support/whole_file.h"

namespace tallow::platform {

namespace {

constexpr const char* kDefaultFile = "/etc/tallow/settings.toml";

// Nothing here is destroyed: other threads may still read settings while the process ends.
struct Current {
    std::mutex mutex;
    std::shared_ptr<Settings>* settings = nullptr;
};
constinit Current current;

std::atomic<unsigned long> version{0};

// ---- Failures of reading -------------------------------------------------------------------------------------------

int codeOf(int systemError) {
    switch (systemError) {
        case ENOENT:
        case ENOTDIR:
            return static_cast<int>(ERROR_FILE_NOT_FOUND);
        case ENOMEM:
            return static_cast<int>(ERROR_NOT_ENOUGH_MEMORY);
        default:
            return static_cast<int>(ERROR_ACCESS_DENIED);
    }
}

// Whether reading the same file again may succeed.
bool isPassing(int systemError) {
    return systemError == EMFILE || systemError == ENFILE || systemError == ENOMEM || systemError == EIO ||
           systemError == EAGAIN || systemError == ESTALE;
}

// Keeps the message on one line, whatever the file contains.
std::string oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    return text;
}

}  // namespace

std::shared_ptr<Settings> Settings::read(const std::string& path, bool mayBeMissing) {
    auto settings = std::make_shared<Settings>();
    settings->path_ = path;
    settings->mayBeMissing_ = mayBeMissing;
    try {
        settings->readFile();
    } catch (const toml::parse_error& failure) {
        settings->fail(static_cast<int>(ERROR_BAD_FORMAT), failure.source().begin, failure.description());
    } catch (const std::bad_alloc&) {
        settings->isPassing_ = true;
        settings->fail(static_cast<int>(ERROR_NOT_ENOUGH_MEMORY), {}, "out of memory");
    }
    return settings;
}

void Settings::readFile() {
    int systemError = 0;
    const std::optional<WholeFile> file = readWholeFile(path_, kMaximumTomlSize, systemError, FileKind::kAny);
    if (!file) {
        if (const int code = codeOf(systemError); !mayBeMissing_ || code != static_cast<int>(ERROR_FILE_NOT_FOUND)) {
            isPassing_ = isPassing(systemError);
            fail(code, {}, failureText(systemError));
        }
        return;
    }
    if (const std::string fault = whyUntrustedFile(path_, file->status); !fault.empty()) {
        fail(static_cast<int>(ERROR_ACCESS_DENIED), {}, fault);
        return;
    }
    if (nestsTooDeep(file->content)) {
        fail(static_cast<int>(ERROR_BAD_FORMAT), {}, "tables and keys nest too deep");
        return;
    }
    table_ = toml::parse(file->content);  // keeps the path where it cannot report that memory runs out
}

std::shared_ptr<Settings> Settings::inForce() {
    const std::scoped_lock lock(current.mutex);
    if (current.settings == nullptr) {
        current.settings = new std::shared_ptr<Settings>;
    }
    std::shared_ptr<Settings>& settings = *current.settings;
    if (settings == nullptr || settings->wantsAnotherTry_) {
        settings = settings == nullptr ? read(kDefaultFile, true) : read(settings->path_, settings->mayBeMissing_);
        ++version;
    }
    return settings;
}

void Settings::putInForce(std::shared_ptr<Settings> settings) {
    const std::scoped_lock lock(current.mutex);
    if (current.settings == nullptr) {
        current.settings = new std::shared_ptr<Settings>;
    }
    current.settings->swap(settings);
    ++version;
}

void Settings::tryAgain() noexcept {
    wantsAnotherTry_ = isPassing_;
}

const toml::node* Settings::find(std::string_view path) const {
    const toml::node* node = &table_;
    while (node != nullptr && !path.empty() && path.front() == '\\') {
        path.remove_prefix(1);
        const std::string_view name = path.substr(0, path.find('\\'));
        const toml::table* const table = node->as_table();
        node = table == nullptr ? nullptr : table->get(name);
        path.remove_prefix(name.size());
    }
    return path.empty() && node != &table_ ? node : nullptr;
}

SUPPORT_SETTINGS_ERROR Settings::error() const {
    const std::scoped_lock lock(mutex_);
    return error_;
}

void Settings::breakAt(const toml::node& node, std::string_view reason) {
    fail(static_cast<int>(ERROR_INVALID_DATA), node.source().begin, reason);
}

unsigned long settingsVersion() noexcept {
    return version;
}

void Settings::fail(int code, const toml::source_position& position, std::string_view reason) {
    const std::scoped_lock lock(mutex_);
    if (error_.code != 0) {
        return;
    }
    // Sets the state first: the message below needs memory, which may be exhausted.
    error_.code = code;
    error_.line = position.line;
    error_.column = position.column;
    broken_.store(true, std::memory_order_release);
    ++version;
    std::string message = path_;
    if (position.line != 0) {
        message += ":" + std::to_string(position.line) + ":" + std::to_string(position.column);
    }
    message += ": ";
    message += reason;
    message = oneLine(std::move(message));
    message.copy(error_.message, sizeof error_.message - 1);
}

}  // namespace tallow::platform

int support_settings_open(const char* path) {
    const tallow::platform::ForkGate gate;
    try {
        auto settings =
            tallow::platform::Settings::read(path == nullptr ? tallow::platform::kDefaultFile : path, path == nullptr);
        const int code = settings->error().code;
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
    const tallow::platform::ForkGate gate;
    try {
        *error = tallow::platform::Settings::inForce()->error();
        return error->code;
    } catch (...) {
        return static_cast<int>(ERROR_NOT_ENOUGH_MEMORY);
    }
}
