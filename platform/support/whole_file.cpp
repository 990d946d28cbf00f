#include "platform/support/whole_file.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

#include "platform/support/descriptor.h"

namespace tallow::platform {

namespace {

constexpr size_t kPieceSize = 16384;

struct CloseDirectory {
    void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};

}  // namespace

bool isSame(const timespec& left, const timespec& right) noexcept {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

std::optional<WholeFile> readWholeFile(const std::string& path, size_t largest, int& systemError) {
    WholeFile file;
    const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
    if (!descriptor.valid() || ::fstat(descriptor.get(), &file.status) != 0) {
        systemError = errno;
        return std::nullopt;
    }
    if (file.status.st_size > 0) {
        file.content.reserve(std::min(static_cast<size_t>(file.status.st_size), largest));
    }
    std::array<char, kPieceSize> piece{};
    ssize_t count = 0;
    do {
        count = ::read(descriptor.get(), piece.data(), piece.size());
        if (count < 0 && errno != EINTR) {
            systemError = errno;
            return std::nullopt;
        }
        file.content.append(piece.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
        if (file.content.size() > largest) {
            systemError = EFBIG;
            return std::nullopt;
        }
    } while (count != 0);
    struct stat after {};
    if (S_ISREG(file.status.st_mode) &&
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
