#include "platform/support/whole_file.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace tallow::platform {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

constexpr size_t kPieceSize = 16384;

}  // namespace

std::optional<std::string> readWholeFile(const std::string& path, int& systemError) {
    std::unique_ptr<std::FILE, CloseFile> const file(std::fopen(path.c_str(), "rbe"));
    std::string content;
    std::array<char, kPieceSize> piece{};
    while (file != nullptr && std::feof(file.get()) == 0) {
        content.append(piece.data(), std::fread(piece.data(), 1, piece.size(), file.get()));
        if (std::ferror(file.get()) != 0) {
            break;
        }
        if (content.size() > kMaximumFileSize) {
            systemError = EFBIG;
            return std::nullopt;
        }
    }
    if (file == nullptr || std::ferror(file.get()) != 0) {
        systemError = errno;
        return std::nullopt;
    }
    return content;
}

}  // namespace tallow::platform
