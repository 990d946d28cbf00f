// An open file of this process, closed with the object.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace tallow::platform {

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    bool valid() const { return fd_ >= 0; }
    int get() const { return fd_; }
    bool readAll(void* data, std::size_t size) const {
        char* next = static_cast<char*>(data);
        while (size > 0) {
            const ssize_t count = ::read(fd_, next, size);
            if (count == 0 || (count < 0 && errno != EINTR)) {
                return false;
            }
            next += std::max<ssize_t>(count, 0);
            size -= static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
        return true;
    }
    bool writeAll(const void* data, std::size_t size) const {
        const char* next = static_cast<const char*>(data);
        while (size > 0) {
            const ssize_t written = ::write(fd_, next, size);
            if (written == 0 || (written < 0 && errno != EINTR)) {
                return false;
            }
            next += std::max<ssize_t>(written, 0);
            size -= static_cast<std::size_t>(std::max<ssize_t>(written, 0));
        }
        return true;
    }
    bool flush() const { return ::fdatasync(fd_) == 0; }

private:
    int fd_;
};

}  // namespace tallow::platform
