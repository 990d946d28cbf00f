// Reading and writing whole files, for the examples. Throws std::runtime_error that names the file.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

inline std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad()) {
        throw std::runtime_error(path + " cannot be read");
    }
    return content;
}

// Other processes never read half a file: the content goes to a new one, which then replaces the old one.
template <typename Octets>
void writeFile(const std::string& path, const Octets& content) {
    std::ofstream file(path + ".new", std::ios::binary);
    file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) {
        throw std::runtime_error(path + " cannot be written");
    }
    std::filesystem::rename(path + ".new", path);
}

inline void removeFile(const std::string& path) {
    std::filesystem::remove(path);
}
