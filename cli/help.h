// The layout of help pages, and suggestions for misspelt words. Knows nothing about the parser.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tallow::cli {

/// An option, an argument or a command, as a line of a help page.
struct HelpItem {
    std::string names;  // "-o, --output FILE"
    std::string what;
    std::string group;  // the heading it stands under
};

struct HelpPage {
    std::string usage;  // "tallow check [OPTION]... [CERT]..."
    std::string what;
    std::vector<HelpItem> items;  // those of a group one after the other
    std::string footer;           // paragraphs, one a line
};

/// The page in lines of at most 80 columns.
std::string helpText(const HelpPage& page);

/// The words in lines of at most 80 columns, each after `indent` spaces, the first one after `lead`.
std::string wrapped(std::string_view words, std::size_t indent, std::string_view lead = {});

/// "a, b, c"
std::string joined(const std::vector<std::string>& words);

}  // namespace tallow::cli
