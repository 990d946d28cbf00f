// A file that the user names, read piece by piece: it may be a pipe or a terminal on which nothing arrives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace tallow::cli {

class InputStream {
public:
    enum class Kind { kAny, kRegularFile };

    /// "-" is standard input. A FIFO is opened without waiting for its writer. Throws InputError, for kRegularFile also
    /// when it is none, and reading never waits then.
    explicit InputStream(std::string path, Kind kind = Kind::kAny);
    ~InputStream();
    InputStream(const InputStream&) = delete;
    InputStream& operator=(const InputStream&) = delete;

    /// Reads up to `size` octets, and returns how many; 0 at the end. While there is nothing to read, it calls
    /// `waiting`, if given, several times a second; after two seconds a line on standard error says so, once. Throws
    /// InputError when reading fails; `place` says in the message after what.
    std::size_t read(char* room, std::size_t size, const std::string& place = "",
                     const std::function<void()>& waiting = {});

    const std::string& path() const { return path_; }
    /// In octets; 0 when it is no regular file.
    std::uint64_t size() const { return size_; }

private:
    void close() const;
    void noteSilence();

    const std::string path_;
    const Kind kind_;
    const int file_;
    bool mayWait_ = true;
    bool isNoted_ = false;  // that there is nothing to read, or something was read
    std::uint64_t size_ = 0;
};

}  // namespace tallow::cli
