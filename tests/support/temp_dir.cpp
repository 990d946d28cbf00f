#include "tests/support/temp_dir.h"

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace testkit {

TempDir::TempDir() {
    ::umask(::umask(0) | S_IWGRP | S_IWOTH);  // settings and roots that a group can write are ignored
    std::string pattern = (std::filesystem::temp_directory_path() / "tallow-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary folder");
    }
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::file(std::string_view name) const {
    return (path_ / name).string();
}

std::string TempDir::write(std::string_view name, std::string_view content) const {
    const std::filesystem::path target = path_ / name;
    std::filesystem::create_directories(target.parent_path());
    std::ofstream out(target, std::ios::binary);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + target.string());
    }
    return target.string();
}

std::string TempDir::write(std::string_view name, const Bytes& content) const {
    return write(name, std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
}

Bytes readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace testkit
