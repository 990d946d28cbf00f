// A folder under the system's temporary folder that lives as long as its object.
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

    /// Full path of `name` in the folder, as text; nothing is created.
    std::string file(std::string_view name) const;

    /// Writes the file (folders on the way are made) and returns its full path.
    std::string write(std::string_view name, std::string_view content) const;
    std::string write(std::string_view name, const Bytes& content) const;

private:
    std::filesystem::path path_;
};

/// The whole content of a file; a file that cannot be read ends the test with an exception.
Bytes readFile(const std::string& path);

}  // namespace testkit
