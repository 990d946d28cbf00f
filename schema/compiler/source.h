// The source texts and positions in them.
//
// All later data carries a Span, so that every error can be reported with its line. A file holds one module, so the
// file of a name is also its scope.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace schemac {

// A range of octets in one file; `end` is exclusive.
struct Span {
    std::uint32_t file = 0;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
};

// The range from the start of `first` to the end of `last`, in the same file.
Span join(Span first, Span last);

// Both start at 1. Columns count octets.
struct Position {
    std::size_t line = 1;
    std::size_t column = 1;
};

class Sources {
public:
    // The largest accepted text. Offsets must fit in 32 bits with room to spare.
    static constexpr std::size_t kMaxTextSize = 64u << 20;

    // Adds a text under the name used in messages and returns its number. Truncates texts longer than kMaxTextSize.
    std::uint32_t add(std::string name, std::string text);
    // Reads a file. Returns false if it cannot be read.
    bool load(const std::string& path);

    std::uint32_t count() const { return static_cast<std::uint32_t>(files_.size()); }
    const std::string& name(std::uint32_t file) const { return files_[file].name; }
    // The name without directories and extension; the generated files have this name.
    std::string stem(std::uint32_t file) const;
    std::string_view text(std::uint32_t file) const { return files_[file].text; }
    std::string_view text(Span span) const;
    Position position(Span span) const;

private:
    struct File {
        std::string name;
        std::string text;
        std::vector<std::uint32_t> lineStarts;
    };
    std::deque<File> files_;  // texts never move: tokens contain views of them
};

}  // namespace schemac
