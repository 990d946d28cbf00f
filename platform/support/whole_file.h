// Reads whole files and directories, with the system's error on failure. A failure never looks like an empty result:
// callers decide what an unreadable file means.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tallow::platform {

inline constexpr size_t kMaximumFileSize = size_t{64} << 20;

struct WholeFile {
    std::string content;
    struct stat status {};  // of the file that was opened, taken before the first octet was read
};

enum class FileKind {
    kRegular,
    kAny,  // pipes and devices too: waits for what they give, 30 s for all of it
};

// In place of errno values.
inline constexpr int kNotRegular = -1;
inline constexpr int kTooSlow = -2;

// The content, or nothing and the errno value or one of the above: EFBIG above `largest`, so that a device cannot
// exhaust memory; ESTALE for a file that changed while it was read. The file that was opened decides what kind it is,
// not its name. A file of the kernel that calls itself regular and waits, such as its log, is not regular.
std::optional<WholeFile> readWholeFile(const std::string& path, size_t largest, int& systemError,
                                       FileKind kind = FileKind::kRegular);

// Why a file was not read.
std::string failureText(int systemError);

struct DirectoryListing {
    struct stat status {};
    std::vector<std::string> names;  // sorted, without those that begin with a dot
};

// The entries of a directory, or nothing and the errno value.
std::optional<DirectoryListing> readDirectory(const std::string& path, int& systemError);

// Whether two times of a file's status are the same.
bool isSame(const timespec& left, const timespec& right) noexcept;

}  // namespace tallow::platform
