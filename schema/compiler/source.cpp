// Loads files, and converts offsets to lines and columns.
#include "schema/compiler/source.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace schemac {

Span join(Span first, Span last) {
    return {first.file, first.begin, std::max(first.begin, last.end)};
}

std::uint32_t Sources::add(std::string name, std::string text) {
    if (text.size() > kMaxTextSize) {
        text.resize(kMaxTextSize);
    }
    std::vector<std::uint32_t> lineStarts{0};
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n') {
            lineStarts.push_back(static_cast<std::uint32_t>(i + 1));
        }
    }
    files_.push_back({std::move(name), std::move(text), std::move(lineStarts)});
    return count() - 1;
}

bool Sources::load(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return false;
    }
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad()) {
        return false;
    }
    add(path, std::move(text));
    return true;
}

std::string Sources::stem(std::uint32_t file) const {
    return std::filesystem::path(files_[file].name).stem().string();
}

std::string_view Sources::text(Span span) const {
    return std::string_view(files_[span.file].text).substr(span.begin, span.end - span.begin);
}

Position Sources::position(Span span) const {
    const std::vector<std::uint32_t>& starts = files_[span.file].lineStarts;
    const auto after = std::upper_bound(starts.begin(), starts.end(), span.begin);
    const auto line = static_cast<std::size_t>(after - starts.begin());
    return {line, span.begin - starts[line - 1] + 1};
}

}  // namespace schemac
