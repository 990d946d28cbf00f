#include "platform/support/whole_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <memory>
#include <system_error>

#include "platform/support/descriptor.h"

namespace tallow::platform {

namespace {

constexpr size_t kPieceSize = 16384;

using Clock = std::chrono::steady_clock;

// Whether there is something to read before the time is over, if only a failure or the end.
bool waitFor(int descriptor, Clock::time_point end) {
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd readable{descriptor, POLLIN, 0};
        const int count = ::poll(&readable, 1, static_cast<int>(left.count()));
        if (count >= 0 || errno != EINTR) {
            return count != 0;
        }
    }
}

struct CloseDirectory {
    void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};

}  // namespace

bool isSame(const timespec& left, const timespec& right) noexcept {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

std::string failureText(int systemError) {
    return systemError == kNotRegular ? "is no regular file"
           : systemError == kTooSlow  ? "did not arrive within 30 s"
                                      : std::generic_category().message(systemError);
}

std::optional<WholeFile> readWholeFile(const std::string& path, size_t largest, int& systemError, FileKind kind) {
    WholeFile file;
    const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!descriptor.valid() || ::fstat(descriptor.get(), &file.status) != 0) {
        systemError = errno;
        return std::nullopt;
    }
    const bool isRegular = S_ISREG(file.status.st_mode);
    if (!isRegular && kind == FileKind::kRegular) {
        systemError = kNotRegular;
        return std::nullopt;
    }
    if (file.status.st_size > 0) {
        file.content.reserve(std::min(static_cast<size_t>(file.status.st_size), largest));
    }
    std::array<char, kPieceSize> piece{};
    constexpr std::chrono::seconds kPatience{30};
    const Clock::time_point end = Clock::now() + kPatience;
    ssize_t count = 0;
    do {
        // Without a writer, a pipe reads as empty: wait until one has opened it.
        if (!isRegular && !waitFor(descriptor.get(), end)) {
            systemError = kTooSlow;
            return std::nullopt;
        }
        count = ::read(descriptor.get(), piece.data(), piece.size());
        if (count < 0 && errno != EINTR && (isRegular || errno != EAGAIN)) {
            systemError = errno == EAGAIN ? kNotRegular : errno;
            return std::nullopt;
        }
        file.content.append(piece.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
        if (file.content.size() > largest) {
            systemError = EFBIG;
            return std::nullopt;
        }
    } while (count != 0);
    struct stat after {};
    if (isRegular &&
        (::fstat(descriptor.get(), &after) != 0 || after.st_size != file.status.st_size ||
         !isSame(after.st_mtim, file.status.st_mtim) || file.content.size() != static_cast<size_t>(after.st_size))) {
        systemError = ESTALE;
        return std::nullopt;
    }
    return file;
}

std::optional<DirectoryListing> readDirectory(const std::string& path, int& systemError) {
    DirectoryListing listing;
    const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(path.c_str()));
    if (directory == nullptr || ::fstat(::dirfd(directory.get()), &listing.status) != 0) {
        systemError = errno;
        return std::nullopt;
    }
    // Only errno distinguishes the end from a failure.
    errno = 0;
    while (const dirent* const entry = ::readdir(directory.get())) {
        if (entry->d_name[0] != '.' && entry->d_type != DT_DIR) {
            listing.names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    if (errno != 0) {
        systemError = errno;
        return std::nullopt;
    }
    std::sort(listing.names.begin(), listing.names.end());
    return listing;
}

}  // namespace tallow::platform
