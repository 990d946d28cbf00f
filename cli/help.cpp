#include "cli/help.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace tallow::cli {

namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kMargin = 2;
constexpr std::size_t kTextColumn = 26;
// A command line has no words this long. The comparison takes the product of both lengths.
constexpr std::size_t kLongestWord = 64;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string item(const HelpItem& item) {
    std::string lead = std::string(kMargin, ' ') + item.names;
    std::string text;
    if (lead.size() + 2 > kTextColumn) {
        text = lead + '\n';
        lead.clear();
    }
    return text + wrapped(item.what, kTextColumn, lead);
}

// How many characters must be inserted, removed, replaced or swapped with their neighbour.
std::size_t editDistance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> beforeLast(to.size() + 1);
    std::vector<std::size_t> last(to.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::vector<std::size_t> row(to.size() + 1, i);
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const bool isEqual = lower(from[i - 1]) == lower(to[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isEqual ? 0 : 1)});
            if (i > 1 && j > 1 && lower(from[i - 1]) == lower(to[j - 2]) && lower(from[i - 2]) == lower(to[j - 1])) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
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

std::string closest(std::string_view given, const std::vector<std::string>& known) {
    if (given.size() > kLongestWord) {
        return {};
    }
    std::string best;
    // One mistake in a short word, a third of the letters in a long one.
    std::size_t limit = std::max<std::size_t>(1, given.size() / 3) + 1;
    for (const std::string& word : known) {
        const std::size_t distance = editDistance(given, word);
        if (distance < limit) {
            limit = distance;
            best = word;
        }
    }
    return best;
}

}  // namespace tallow::cli
