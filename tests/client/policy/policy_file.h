// A settings file with one table of policy.
#pragma once

#include <string>

#include "tests/support/settings_file.h"

namespace testkit {

/// `policy` is the content of the table [config.cades.ocsppolicy].
class PolicyFile : public SettingsFile {
public:
    explicit PolicyFile(const std::string& policy = "") : SettingsFile(kTable + policy) {}

    void write(const std::string& policy) { SettingsFile::write(kTable + policy); }
    /// A file that cannot be read as settings: every key that is asked for fails, none seems to be absent.
    void breakFile() { SettingsFile::write("= nonsense"); }

private:
    static inline const std::string kTable = "[config.cades.ocsppolicy]\n";
};

}  // namespace testkit
