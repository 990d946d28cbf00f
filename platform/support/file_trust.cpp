#include "platform/support/file_trust.h"

#include <unistd.h>

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

std::string directoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace tallow::platform
