// Settings for one test: the file in force, and the text for a machine of its own.
#pragma once

#include <string>
#include <string_view>

#include "platform/support/support_service.h"
#include "tests/support/temp_dir.h"

namespace testkit {

/// The table [crypto] of a machine whose stores are in `folder`, and the cache too unless there is none. Without the
/// system's roots. `more` continues the table.
inline std::string machineSettings(const TempDir& folder, const std::string& more = "", bool hasCache = true) {
    return "[crypto]\nsystem_roots = false\nmachine_stores = \"" + folder.file("machine") + "\"\nuser_stores = \"" +
           folder.file("user") + "\"\nurl_cache = \"" + (hasCache ? folder.file("cache") : "") + "\"\n" + more;
}

/// In force from the moment it is written; afterwards an empty file is.
class SettingsFile {
public:
    explicit SettingsFile(std::string_view content) { write(content); }
    ~SettingsFile() { write(""); }
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;

    void write(std::string_view content) {
        path_ = folder_.write("settings.toml", content);
        result_ = support_settings_open(path_.c_str());
    }
    /// Of the last write.
    int result() const { return result_; }
    const std::string& path() const { return path_; }
    const TempDir& folder() const { return folder_; }

private:
    TempDir folder_;
    std::string path_;
    int result_ = 0;
};

}  // namespace testkit
