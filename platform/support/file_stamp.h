// Shows whether a file changed since it was read, without reading it.
#pragma once

#include <sys/stat.h>

#include <ctime>

namespace tallow::platform {

// Uses the time of the last change of any kind (ctime): the time of the last write can be set back.
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = -1;  // of a file that does not exist, or is not known
    timespec changed{};

    static FileStamp of(const struct stat& status) noexcept;
    bool operator==(const FileStamp& other) const noexcept;

    // In ns: the clock of a file system ticks a few milliseconds at a time.
    static constexpr long kTick = 20000000;

    // Whether every change after `begun`, a result of currentTime(), alters the stamp: a file may change twice within a
    // tick.
    bool isSettled(const timespec& begun) const noexcept;
};

// The time of the system's clock.
timespec currentTime() noexcept;

}  // namespace tallow::platform
