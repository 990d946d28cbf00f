// A real settings file with one table of policy, in force from the moment it is written.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/support/support_service.h"
#include "tests/support/temp_dir.h"

namespace testkit {

class SettingsFile {
public:
    /// `policy` is the content of the table [config.cades.ocsppolicy].
    explicit SettingsFile(const std::string& policy = "") { write(policy); }

    void write(const std::string& policy) { open("[config.cades.ocsppolicy]\n" + policy); }
    /// A file that cannot be read as settings: every key that is asked for fails, none seems to be absent.
    void breakFile() { static_cast<void>(support_settings_open(folder_.write("settings.toml", "= nonsense").c_str())); }
    const TempDir& folder() const { return folder_; }

private:
    void open(const std::string& content) {
        EXPECT_EQ(support_settings_open(folder_.write("settings.toml", content).c_str()), 0) << content;
    }

    TempDir folder_;
};

}  // namespace testkit
