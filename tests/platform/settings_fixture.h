// A settings file for one test; afterwards an empty file is in force.
#pragma once

#include <string>
#include <string_view>

#include "platform/support/support_service.h"
#include "tests/support/temp_dir.h"

namespace testkit {

class SettingsFile {
public:
    explicit SettingsFile(std::string_view content)
        : path_(folder_.write("settings.toml", content)), result_(support_settings_open(path_.c_str())) {}
    ~SettingsFile() {
        folder_.write("settings.toml", "");
        support_settings_open(path_.c_str());
    }
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;

    int result() const { return result_; }
    const std::string& path() const { return path_; }
    const TempDir& folder() const { return folder_; }

private:
    TempDir folder_;
    std::string path_;
    int result_;
};

}  // namespace testkit
