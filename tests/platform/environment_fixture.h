// Adverse conditions of a process, during the life of an object.
#pragma once

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace testkit {

// The process has no free descriptor.
class NoDescriptors {
public:
    NoDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit none{3, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit before_{};
};

// Environment variables with other values.
class Environment {
public:
    Environment(std::initializer_list<std::pair<const char*, std::string>> variables) {
        for (const auto& [name, value] : variables) {
            const char* const before = std::getenv(name);
            before_.emplace_back(name, before == nullptr ? std::nullopt : std::optional<std::string>(before));
            ::setenv(name, value.c_str(), 1);
        }
    }
    ~Environment() {
        for (const auto& [name, value] : before_) {
            value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    std::vector<std::pair<const char*, std::optional<std::string>>> before_;
};

// A file with another mode, or of another user. Only root can give a file away: ask isDone().
class Changed {
public:
    Changed(std::string path, mode_t mode, bool ofAnother) : path_(std::move(path)) {
        constexpr uid_t kAnother = 12345;
        ::stat(path_.c_str(), &before_);
        isDone_ =
            (!ofAnother || ::chown(path_.c_str(), kAnother, before_.st_gid) == 0) && ::chmod(path_.c_str(), mode) == 0;
    }
    ~Changed() {
        static_cast<void>(::chown(path_.c_str(), before_.st_uid, before_.st_gid) == 0 &&
                          ::chmod(path_.c_str(), before_.st_mode & 07777) == 0);
    }
    Changed(const Changed&) = delete;
    Changed& operator=(const Changed&) = delete;

    bool isDone() const { return isDone_; }

private:
    std::string path_;
    struct stat before_ {};
    bool isDone_ = false;
};

}  // namespace testkit
