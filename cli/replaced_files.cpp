#include "cli/replaced_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "cli/option_rules.h"
#include "cli/settings_table.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

namespace {

namespace fs = std::filesystem;

// False for what is no regular file, and what does not exist.
bool find(const std::string& path, std::pair<dev_t, ino_t>& file) {
    struct stat info {};
    if (path.empty() || ::stat(path == "-" ? "/dev/stdin" : path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return false;
    }
    file = {info.st_dev, info.st_ino};
    return true;
}

std::vector<std::string> filesNamedBySettings() {
    std::vector<std::string> files;
    for (const Setting& setting : allSettings()) {
        const std::string_view name = setting.name;
        if (name == "system_bundle" || name.ends_with("_file")) {
            const std::vector<std::string> named = textsOf(setting);
            const std::string byDefault = defaultToml(setting);  // with its quotes
            files.push_back(!named.empty()         ? named.front()
                            : byDefault.size() > 2 ? byDefault.substr(1, byDefault.size() - 2)
                                                   : std::string());
        }
    }
    return files;
}

// The stores of the machine or the user, each a directory with files.
void requireNoStore(const ReplacedFiles& replaced, const std::string& stores) {
    std::error_code error;
    for (const fs::directory_entry& store : fs::directory_iterator(stores, error)) {
        for (const fs::directory_entry& file : fs::directory_iterator(store, error)) {
            replaced.requireNot(file.path().string());
        }
    }
}

}  // namespace

ReplacedFiles::ReplacedFiles(const std::vector<std::string>& outputs) {
    for (const std::string& output : outputs) {
        if (std::pair<dev_t, ino_t> file; output != "-" && find(output, file)) {
            files_.push_back(file);
        }
    }
}

void ReplacedFiles::requireNot(const std::string& input) const {
    std::pair<dev_t, ino_t> file;
    if (!files_.empty() && find(input, file) && std::find(files_.begin(), files_.end(), file) != files_.end()) {
        throw UsageError(input + " would be read and then replaced by an output; name another file for that");
    }
}

void requireInputsKept(const CommandOptions& options, const std::vector<std::string>& outputs) {
    const ReplacedFiles replaced(outputs);
    if (replaced.isEmpty()) {
        return;
    }
    const auto requireNone = [&replaced](const std::vector<std::string>& inputs) {
        std::for_each(inputs.begin(), inputs.end(), [&](const std::string& input) { replaced.requireNot(input); });
    };
    requireNone(inputFilesOf(options));
    const std::string settings = settingsFileOf(options);
    replaced.requireNot(settings.empty() ? "/etc/tallow/settings.toml" : settings);
    if (std::pair<dev_t, ino_t> file; find(settings, file)) {        // a pipe could be read only once
        static_cast<void>(support_settings_open(settings.c_str()));  // the run reports what is wrong with it
    }
    requireNone(filesNamedBySettings());
    requireNoStore(replaced, storesFolder(true));
    requireNoStore(replaced, storesFolder(false));
}

}  // namespace tallow::cli
