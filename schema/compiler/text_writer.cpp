// See text_writer.h.
#include "schema/compiler/text_writer.h"

namespace schemac {

namespace {

// The number of characters to put on the first line: up to the last comma that fits, else the last blank; never inside
// a literal or a comment. All characters if they fit or cannot be broken.
std::size_t breakingPoint(std::string_view text, std::size_t room) {
    if (text.size() <= room || text.front() == '#') {
        return text.size();
    }
    std::size_t atBlank = 0;
    std::size_t behindComma = 0;
    bool isInLiteral = false;
    for (std::size_t i = 1; i < text.size() && (i <= room || atBlank == 0); ++i) {
        if (text.substr(i, 2) == "//" && !isInLiteral) {
            break;
        }
        isInLiteral = isInLiteral != (text[i] == '"');
        if (text[i] == ' ' && !isInLiteral) {
            atBlank = i;
            behindComma = text[i - 1] == ',' ? i : behindComma;
        }
    }
    const std::size_t best = behindComma != 0 ? behindComma : atBlank;
    return best != 0 ? best : text.size();
}

}  // namespace

void TextWriter::line(std::string_view text) {
    std::size_t indentation = depth_ * 4;
    while (!text.empty()) {
        const std::size_t room = kMaxColumns > indentation ? kMaxColumns - indentation : 1;
        const std::size_t size = breakingPoint(text, room);
        add(text.substr(0, size), indentation);
        if (size == text.size()) {
            return;
        }
        text.remove_prefix(size + 1);
        indentation = (depth_ + 1) * 4;
    }
    add({}, 0);
}

void TextWriter::add(std::string_view text, std::size_t indentation) {
    if (!text.empty()) {
        text_.append(indentation, ' ');
        text_.append(text);
    }
    text_ += '\n';
    ++numLines_;
}

void TextWriter::comment(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view one = text.substr(0, end);
        while (!one.empty() && (one.back() == ' ' || one.back() == '\r' || one.back() == '\t')) {
            one.remove_suffix(1);
        }
        const bool swallowsNext = !one.empty() && one.back() == '\\';  // would continue the comment
        add(std::string(one.empty() ? "//" : "// ") + std::string(one) + (swallowsNext ? "." : ""), depth_ * 4);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
}

}  // namespace schemac
