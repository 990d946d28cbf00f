#include "cli/help.h"

#include <algorithm>
#include <cstddef>

namespace tallow::cli {

namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kMargin = 2;
constexpr std::size_t kTextColumn = 26;

std::string item(const HelpItem& item) {
    std::string lead = std::string(kMargin, ' ') + item.names;
    std::string text;
    if (lead.size() + 2 > kTextColumn) {
        text = lead + '\n';
        lead.clear();
    }
    return text + wrapped(item.what, kTextColumn, lead);
}

}  // namespace

std::string wrapped(std::string_view words, std::size_t indent, std::string_view lead) {
    std::string text;
    std::string line(lead);
    bool isEmpty = true;
    while (!words.empty()) {
        const std::string_view word = words.substr(0, words.find(' '));
        words.remove_prefix(std::min(words.size(), word.size() + 1));
        if (!isEmpty && line.size() + 1 + word.size() > kWidth) {
            text += line + '\n';
            line.clear();
            isEmpty = true;
        }
        line.resize(isEmpty ? std::max(indent, line.size()) : line.size() + 1, ' ');
        line += word;
        isEmpty = false;
    }
    return text + line + '\n';
}

std::string helpText(const HelpPage& page) {
    std::string text = wrapped(page.usage, kMargin, "Usage: ") + '\n' + wrapped(page.what, 0);
    const std::string* group = nullptr;
    for (const HelpItem& each : page.items) {
        if (group == nullptr || *group != each.group) {
            group = &each.group;
            text += '\n' + each.group + ":\n";
        }
        text += item(each);
    }
    for (std::string_view rest = page.footer; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        text += '\n' + wrapped(line, 0);
    }
    return text;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

}  // namespace tallow::cli
