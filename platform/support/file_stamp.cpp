#include "platform/support/file_stamp.h"

#include "platform/support/whole_file.h"

namespace tallow::platform {

FileStamp FileStamp::of(const struct stat& status) noexcept {
    return {status.st_dev, status.st_ino, status.st_size, status.st_ctim};
}

bool FileStamp::operator==(const FileStamp& other) const noexcept {
    return device == other.device && inode == other.inode && size == other.size && isSame(changed, other.changed);
}

bool FileStamp::isSettled(const timespec& begun) const noexcept {
    constexpr long kSecond = 1000000000;
    const long seconds = begun.tv_sec - changed.tv_sec;
    return seconds > 1 || seconds < -1 || seconds * kSecond + begun.tv_nsec - changed.tv_nsec > kTick;
}

timespec currentTime() noexcept {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

}  // namespace tallow::platform
