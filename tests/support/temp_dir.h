// A directory in the system's temporary directory; the destructor removes it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tests/support/bytes.h"

namespace testkit {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// The full path of `name` in the directory; nothing is created.
    std::string file(std::string_view name) const;

    /// Writes the file, creates its directories, and returns its full path.
    std::string write(std::string_view name, std::string_view content) const;
    std::string write(std::string_view name, const Bytes& content) const;

private:
    std::filesystem::path path_;
};

/// The whole content of a file; throws when it cannot be read.
Bytes readFile(const std::string& path);

}  // namespace testkit
