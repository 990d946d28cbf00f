// See text_writer.h.
#include "schema/compiler/text_writer.h"

namespace schemac {

void TextWriter::line(std::string_view text) {
    if (!text.empty()) {
        text_.append(depth_ * 4, ' ');
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
        const bool swallowsNext = !one.empty() && one.back() == '\\';  // would carry the comment on
        line(std::string(one.empty() ? "//" : "// ") + std::string(one) + (swallowsNext ? "." : ""));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
}

}  // namespace schemac
