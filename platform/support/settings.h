// The settings file as it was read: a table of values, and what is wrong with it. The one in force is replaced as a
// whole, so that a reader keeps a consistent view while another thread opens another file.
#pragma once

#include <toml++/toml.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/support/support_service.h"

namespace tallow::platform {

class Settings {
public:
    // Reads a file; a missing file is an empty one if `mayBeMissing`. A file that cannot be read, that others may
    // write, or that is not TOML gives broken settings.
    static std::shared_ptr<Settings> read(const std::string& path, bool mayBeMissing);

    // The settings of the process, read from the default file when none were opened before.
    static std::shared_ptr<Settings> inForce();
    static void putInForce(std::shared_ptr<Settings> settings);

    // The value that a path such as "\config\cades\ocsppolicy\NonceLength" names, or null.
    const toml::node* find(std::string_view path) const;

    // Every key; no table when the file could not be parsed.
    const toml::table& table() const noexcept { return table_; }
    const std::string& path() const noexcept { return path_; }

    bool broken() const noexcept { return broken_.load(std::memory_order_acquire); }
    SUPPORT_SETTINGS_ERROR error() const;
    // Marks the file as broken because a value has the wrong kind; otherwise its reader would use a default.
    void breakAt(const toml::node& node, std::string_view reason);
    // Called after the error was reported. If only a resource was missing, the next access reads the file again; no
    // defaults are used meanwhile.
    void tryAgain() noexcept;

private:
    void readFile();
    void fail(int code, const toml::source_position& position, std::string_view reason);

    std::string path_;
    bool mayBeMissing_ = false;
    bool isPassing_ = false;  // the file broke for lack of memory or descriptors, not by its content
    std::atomic<bool> wantsAnotherTry_{false};
    toml::table table_;
    std::atomic<bool> broken_{false};
    mutable std::mutex mutex_;
    SUPPORT_SETTINGS_ERROR error_{};
};

}  // namespace tallow::platform
