#include "platform/support/file_trust.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tallow::platform {

namespace {

bool isOwnerTrusted(const struct stat& status) noexcept {
    return status.st_uid == 0 || status.st_uid == ::geteuid();
}

bool isWritableByOthers(const struct stat& status) noexcept {
    // A device owned by root, such as /dev/null, does not return what others write to it.
    return !S_ISCHR(status.st_mode) && (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

constexpr const char* kWrongOwner = "belongs to another user than root and the one running this";

}  // namespace

const char* whyUntrusted(const struct stat& status) noexcept {
    if (!isOwnerTrusted(status)) {
        return kWrongOwner;
    }
    return isWritableByOthers(status) ? "can be written by others (chmod go-w)" : nullptr;
}

const char* whyUntrustedAbove(const struct stat& status) noexcept {
    return (status.st_mode & S_ISVTX) != 0 && isOwnerTrusted(status) ? nullptr : whyUntrusted(status);
}

std::string whyUntrustedFile(const std::string& path, const struct stat& status) {
    if (const char* const why = whyUntrusted(status)) {
        return why;
    }
    struct stat link {};
    struct stat directory {};
    if (::lstat(path.c_str(), &link) != 0 || ::stat(directoryOf(path).c_str(), &directory) != 0) {
        return std::generic_category().message(errno);
    }
    if (S_ISLNK(link.st_mode) && !isOwnerTrusted(link)) {
        return "is a link of another user";
    }
    const char* const why = whyUntrustedAbove(directory);
    return why == nullptr ? std::string() : std::string("its directory ") + why;
}

std::string directoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace tallow::platform
