// What a signal does to the command: it ends at once and leaves no temporary file.
#pragma once

#include <sys/types.h>

#include <string>

namespace tallow::cli {

/// SIGINT, SIGTERM and SIGHUP end the process at once with 128 and their number, unless the caller ignores them.
/// Writing to a closed pipe becomes an ordinary failure.
void endOnSignals();

/// While an object exists, the first of those signals is only noted: its holder looks several times a second, saves
/// what would be lost, and ends the process. The second one ends it at once.
class NotedSignals {
public:
    NotedSignals();
    ~NotedSignals();
    NotedSignals(const NotedSignals&) = delete;
    NotedSignals& operator=(const NotedSignals&) = delete;

    /// 0: there was none.
    [[nodiscard]] static int first();
};

/// Ends the process as this signal does.
[[noreturn]] void endBySignal(int signal);

/// Those signals also end the processes of this group; 0: none.
void endWithProcess(pid_t group);

/// A new file with a unique name, open for writing. It is removed by the destructor and by those signals unless it was
/// renamed.
class TemporaryFile {
public:
    /// Throws std::system_error when none can be made in the directory.
    explicit TemporaryFile(const std::string& directory);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    int descriptor() const { return descriptor_; }
    /// Puts the file in the place of `target`. False, with errno, when that fails.
    [[nodiscard]] bool replace(const std::string& target);

private:
    std::string path_;
    int descriptor_ = -1;
    int slot_ = -1;
};

}  // namespace tallow::cli
