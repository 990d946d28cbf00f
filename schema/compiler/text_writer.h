// Collects the lines of a generated file, indented by the nesting of the blocks that are open.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace schemac {

class TextWriter {
public:
    static constexpr std::size_t kMaxColumns = 160;

    // A line of code. One that is too long goes on in further lines, which are indented; it has to hold blanks where
    // C++ allows a new line.
    void line(std::string_view text = {});
    void indent() { ++depth_; }
    void outdent() { --depth_; }
    // A comment of any number of lines; the first is given, `more` follows as it stands in its file.
    void comment(std::string_view text);

    std::size_t numLines() const { return numLines_; }
    const std::string& text() const { return text_; }

private:
    // One line; an empty one stays without indentation.
    void add(std::string_view text, std::size_t indentation);

    std::string text_;
    std::size_t depth_ = 0;
    std::size_t numLines_ = 0;
};

}  // namespace schemac
