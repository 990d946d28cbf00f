#include "cli/report/html_writer.h"

#include <algorithm>
#include <cmath>

#include "checker/text/safe_text.h"

namespace tallow::cli {

HtmlWriter& HtmlWriter::raw(Markup markup) {
    html_ += markup.text();
    return *this;
}

HtmlWriter& HtmlWriter::text(std::string_view text) {
    for (const char c : text::safeLine(text)) {
        switch (c) {
            case '&':
                html_ += "&amp;";
                break;
            case '<':
                html_ += "&lt;";
                break;
            case '>':
                html_ += "&gt;";
                break;
            case '"':
                html_ += "&quot;";
                break;
            case '\'':
                html_ += "&#39;";
                break;
            default:
                html_ += c;
        }
    }
    return *this;
}

HtmlWriter& HtmlWriter::number(std::uint64_t number) {
    html_ += std::to_string(number);
    return *this;
}

HtmlWriter& HtmlWriter::percent(double value) {
    const auto tenths = static_cast<std::uint64_t>(std::lround(std::clamp(value, 0.0, 100.0) * 10));
    return number(tenths / 10).raw(".").number(tenths % 10).raw("%");
}

HtmlWriter& HtmlWriter::add(const HtmlWriter& other) {
    html_ += other.html_;
    return *this;
}

}  // namespace tallow::cli
