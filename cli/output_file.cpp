#include "cli/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "cli/input_files.h"

namespace tallow::cli {

namespace {

namespace fs = std::filesystem;

// What a path means once the links at its end are followed.
struct Place {
    fs::path target;
    int descriptor = -1;  // of this process, where the path names one
};

// The number N of "/proc/self/fd/N". Reading that link would give the name of a file, but not how it was opened.
int descriptorIn(const fs::path& directory, const std::string& name) {
    std::error_code error;
    int number = -1;
    const auto [end, mistake] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool isNumber = mistake == std::errc() && end == name.data() + name.size();
    return isNumber && directory == fs::canonical("/proc/self/fd", error) && !error ? number : -1;
}

Place placeOf(fs::path path) {
    constexpr int kMostLinks = 40;  // like the system
    for (int i = 0; i < kMostLinks; ++i) {
        std::error_code error;
        const fs::path parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
        const fs::path directory = fs::canonical(parent, error);
        if (error) {
            break;
        }
        if (const int descriptor = descriptorIn(directory, path.filename().string()); descriptor >= 0) {
            return {path, descriptor};
        }
        const fs::path next = fs::read_symlink(path, error);
        if (error) {
            break;
        }
        path = directory / next;  // `next` alone if it is absolute
    }
    return {path, -1};
}

mode_t creationMask() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

}  // namespace

bool isStandardOutput(const std::string& path) {
    return path == "-" || (!path.empty() && placeOf(path).descriptor == STDOUT_FILENO);
}

OutputFile::OutputFile(const std::string& path) : path_(path) {
    if (path.empty()) {
        return;
    }
    const Place place = path == "-" ? Place{{}, STDOUT_FILENO} : placeOf(path);
    target_ = place.target.string();
    if (place.descriptor >= 0) {
        openDescriptor(place.descriptor);
        return;
    }
    struct stat info {};
    const bool exists = ::stat(target_.c_str(), &info) == 0;
    if (!exists && errno != ENOENT) {
        fail(errno);  // such as links in a circle
    }
    if (exists && S_ISDIR(info.st_mode)) {
        throw InputError(path, "cannot be written: is a directory; name a file");
    }
    if (!exists || S_ISREG(info.st_mode)) {
        openTemporary();
        return;
    }
    opened_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (opened_ < 0) {
        fail(errno);
    }
}

OutputFile::~OutputFile() {
    if (opened_ >= 0) {
        ::close(opened_);
    }
}

void OutputFile::fail(int error) const {
    throw InputError(path_, std::string("cannot be written: ") + std::strerror(error) +
                                (error == ENOENT ? "; name a directory that exists" : ""));
}

void OutputFile::openDescriptor(int descriptor) {
    const int flags = ::fcntl(descriptor, F_GETFL);
    opened_ = flags < 0 ? -1 : ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (opened_ < 0) {
        fail(errno);
    }
    if ((flags & O_ACCMODE) == O_RDONLY) {
        ::close(opened_);
        fail(EBADF);
    }
}

void OutputFile::openTemporary() {
    const fs::path parent = fs::path(target_).parent_path();
    struct stat old {};
    const bool exists = ::stat(target_.c_str(), &old) == 0;
    if (exists && ::faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) {
        fail(errno);  // renaming does not ask for this permission
    }
    try {
        temporary_.emplace(parent.empty() ? "." : parent.string());
    } catch (const std::system_error& error) {
        fail(error.code().value());
    }
    constexpr mode_t kNewFile = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
    constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
    const mode_t mode = exists ? old.st_mode & kPermissions : kNewFile & ~creationMask();
    if (exists && ::fchown(descriptor(), old.st_uid, old.st_gid) != 0) {
        static_cast<void>(::fchown(descriptor(), static_cast<uid_t>(-1), old.st_gid) == 0);  // as far as permitted
    }
    if (::fchmod(descriptor(), mode) != 0) {
        fail(errno);
    }
}

void OutputFile::write(const unsigned char* data, std::size_t size) {
    if (path_.empty()) {
        return;
    }
    while (size > 0) {
        const ssize_t count = ::write(descriptor(), data, size);
        if (count < 0 && errno != EINTR) {
            fail(errno);
        }
        const auto numWritten = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        data += numWritten;
        size -= numWritten;
    }
    if (temporary_ && (::fsync(descriptor()) != 0 || !temporary_->replace(target_))) {
        fail(errno);
    }
    if (!temporary_ && ::close(std::exchange(opened_, -1)) != 0) {
        fail(errno);  // a full device may say so only now; and the reader of a pipe sees its end
    }
}

}  // namespace tallow::cli
