#include "cli/input_stream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <iostream>
#include <thread>
#include <utility>

#include "checker/text/safe_text.h"
#include "cli/input_files.h"

namespace tallow::cli {

namespace {

const char* remedyFor(int error, const std::string& path) {
    // "www.example.org", "localhost:443", or an address
    if (path.find("://") != std::string::npos ||
        (error == ENOENT && (path.starts_with("www.") || path.find(':') != std::string::npos))) {
        return "; name a file, or a server with --connect";
    }
    return error == ENOENT                      ? "; check the name"
           : error == EMFILE || error == ENFILE ? "; raise the limit of open files (ulimit -n)"
                                                : "; check its permissions";
}

[[noreturn]] void refuseKind(const std::string& path) {
    throw InputError(path, "is not a regular file; name one");
}

constexpr int kToRead = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// Opens a regular file for reading, and everything else only for looking at it: opening a pipe lets its writer go on,
// and opening a device may do anything. Without /proc, or where a process may not use its own, it opens those, too.
int openRegular(const std::string& path, int noFollow) {
    const int named = ::open(path.c_str(), O_PATH | O_CLOEXEC | noFollow);
    struct stat status {};
    if (named < 0 || ::fstat(named, &status) != 0 || !S_ISREG(status.st_mode)) {
        return named;
    }
    int file = ::open(("/proc/self/fd/" + std::to_string(named)).c_str(), kToRead);
    if (file < 0 && (errno == ENOENT || errno == EACCES)) {
        file = ::open(path.c_str(), kToRead | noFollow);
    }
    const int error = errno;
    ::close(named);
    errno = error;
    return file;
}

int opened(const std::string& path, InputStream::Kind kind) {
    const bool mayBeLink = kind != InputStream::Kind::kRegularFileNoLink;
    const int file = path == "-"                       ? STDIN_FILENO
                     : kind == InputStream::Kind::kAny ? ::open(path.c_str(), kToRead)
                                                       : openRegular(path, mayBeLink ? 0 : O_NOFOLLOW);
    if (file < 0 && errno == ELOOP && !mayBeLink) {
        refuseKind(path);
    }
    if (file < 0) {
        throw InputError(path, std::string("cannot be opened: ") + std::strerror(errno) + remedyFor(errno, path),
                         status::kFileNotFound);
    }
    return file;
}

}  // namespace

InputStream::InputStream(std::string path, Kind kind) : path_(std::move(path)), file_(opened(path_, kind)) {
    if (::fstat(file_, &status_) != 0) {
        status_ = {};  // reading says why
    }
    if (S_ISDIR(status_.st_mode)) {
        close();
        throw InputError(path_, "is a directory; name a file", status::kFileCorrupt);
    }
    if (kind != Kind::kAny && !isRegular()) {
        close();
        refuseKind(path_);
    }
}

void InputStream::close() const {
    if (path_ != "-") {
        ::close(file_);
    }
}

InputStream::~InputStream() {
    close();
}

void InputStream::noteSilence() {
    if (!std::exchange(isNoted_, true)) {
        // On a terminal it takes the place of the line that shows the progress.
        std::cerr << (::isatty(STDERR_FILENO) == 1 ? "\r\x1B[K" : "") << "tallow: " << text::safeLine(path_)
                  << ": waiting for input" << (path_ == "-" ? " on standard input\n" : "\n") << std::flush;
    }
}

std::size_t InputStream::read(char* room, std::size_t size, const std::string& place,
                              const std::function<void()>& waiting) {
    constexpr std::chrono::milliseconds kPause{200};
    constexpr std::chrono::seconds kLong{2};
    const auto begin = std::chrono::steady_clock::now();
    for (;;) {
        pollfd readable{file_, POLLIN, 0};
        // Standard input may wait whatever it is, since it was opened without O_NONBLOCK.
        const bool isReady = (isRegular() && path_ != "-") || ::poll(&readable, 1, kPause.count()) != 0;
        const ssize_t count = isReady ? ::read(file_, room, size) : -1;
        if (count >= 0) {
            isNoted_ = true;
            return static_cast<std::size_t>(count);
        }
        // A file of the kernel that waits for what comes, such as its log, calls itself regular.
        if (isReady && errno == EAGAIN && isRegular()) {
            refuseKind(path_);
        }
        if (isReady && errno != EINTR && errno != EAGAIN) {
            throw InputError(path_,
                             "cannot be read" + place + ": " + std::strerror(errno) + "; check the file" +
                                 (place.empty() ? "" : ", and check the rest of it again"),
                             status::kFileCorrupt);
        }
        if (isReady && errno == EAGAIN) {  // a device that cannot say when it is ready
            std::this_thread::sleep_for(kPause);
        }
        if (waiting) {
            waiting();
        }
        if (std::chrono::steady_clock::now() - begin > kLong) {
            noteSilence();
        }
    }
}

}  // namespace tallow::cli
