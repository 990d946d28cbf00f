// The texts that are compiled, and how a place in them is named.
//
// Everything the later stages make points back into a text by a Span, so that a mistake found late is still reported
// with the line it comes from. A file holds one module: the file of a name is therefore also the scope it is looked up
// in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace schemac {

// A stretch of one file, in octets from its start; `end` is the octet behind the last.
struct Span {
    std::uint32_t file = 0;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
};

// The stretch from the start of `first` to the end of `last`, which are in one file.
Span join(Span first, Span last);

// Both count from 1; the column counts octets.
struct Position {
    std::size_t line = 1;
    std::size_t column = 1;
};

class Sources {
public:
    // The largest text that is taken: offsets have to fit 32 bits with room to spare.
    static constexpr std::size_t kMaxTextSize = 64u << 20;

    // Adds a text under the name that messages show; answers its number. A text beyond kMaxTextSize is cut.
    std::uint32_t add(std::string name, std::string text);
    // Reads a file; false when it cannot be read.
    bool load(const std::string& path);

    std::uint32_t count() const { return static_cast<std::uint32_t>(files_.size()); }
    const std::string& name(std::uint32_t file) const { return files_[file].name; }
    // The name without folders and extension; what the generated files are called.
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
    std::deque<File> files_;  // texts never move: tokens hold views into them
};

}  // namespace schemac
