// Collects the lines of a generated file, indented by the number of open blocks.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace schemac {

class TextWriter {
public:
    static constexpr std::size_t kMaxColumns = 160;

    // A line of code. A long one is continued on further, indented lines, so blanks must be where C++ allows a line
    // break.
    void line(std::string_view text = {});
    void indent() { ++depth_; }
    void outdent() { --depth_; }
    // A comment with one line for each line of the text.
    void comment(std::string_view text);

    std::size_t numLines() const { return numLines_; }
    const std::string& text() const { return text_; }

private:
    // One line; an empty one is not indented.
    void add(std::string_view text, std::size_t indentation);

    std::string text_;
    std::size_t depth_ = 0;
    std::size_t numLines_ = 0;
};

}  // namespace schemac
