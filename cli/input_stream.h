// A file that the user names, read piece by piece: it may be a pipe or a terminal on which nothing arrives.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace tallow::cli {

class InputStream {
public:
    enum class Kind {
        kAny,
        kRegularFile,
        kRegularFileNoLink,  // nor is it reached by a symbolic link
    };

    /// "-" is standard input. A FIFO is opened without waiting for its writer. The file that was opened decides what it
    /// is, not its name. Throws InputError, also when it is not of that kind.
    explicit InputStream(std::string path, Kind kind = Kind::kAny);
    ~InputStream();
    InputStream(const InputStream&) = delete;
    InputStream& operator=(const InputStream&) = delete;

    /// Reads up to `size` octets, and returns how many; 0 at the end. While there is nothing to read, it calls
    /// `waiting`, if given, several times a second, which may throw; after two seconds a line on standard error says
    /// so, once. Regular files never wait. Throws InputError when reading fails; `place` says in the message after
    /// what.
    std::size_t read(char* room, std::size_t size, const std::string& place = "",
                     const std::function<void()>& waiting = {});

    const std::string& path() const { return path_; }
    /// Of the open file, as it was when it was opened.
    const struct stat& status() const { return status_; }
    /// In octets; 0 when it is not a regular file.
    std::uint64_t size() const { return isRegular() ? static_cast<std::uint64_t>(status_.st_size) : 0; }

private:
    bool isRegular() const { return S_ISREG(status_.st_mode); }
    void close() const;
    void noteSilence();

    const std::string path_;
    const int file_;
    struct stat status_ {};
    bool isNoted_ = false;  // that there is nothing to read, or something was read
};

}  // namespace tallow::cli
