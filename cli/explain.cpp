#include "cli/explain.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include "checker/text/status_text.h"
#include "cli/closest_name.h"
#include "cli/help.h"
#include "cli/input_files.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

struct Entry {
    std::string_view symbol;
    std::int32_t code;
    std::string_view text;  // "meaning; remedy"
};
constexpr Entry kEntries[] = {
#define TALLOW_STATUS(symbol, number, text) {#symbol, static_cast<std::int32_t>(number), text},
#include "handles/status_table.inc"
#undef TALLOW_STATUS
};

struct Guide {
    std::string_view symbol;
    std::string_view causes;    // lines
    std::string_view remedies;  // lines; may be empty
};
constexpr Guide kGuides[] = {
#define TALLOW_GUIDE(symbol, causes, remedies) {#symbol, causes, remedies},
#include "cli/status_guide.inc"
#undef TALLOW_GUIDE
};

constexpr bool guidesFitEntries() {
    bool fits = std::size(kGuides) == std::size(kEntries);
    for (std::size_t i = 0; fits && i < std::size(kEntries); ++i) {
        fits = kGuides[i].symbol == kEntries[i].symbol && !kGuides[i].causes.empty();
    }
    return fits;
}
static_assert(guidesFitEntries(), "status_table.inc and status_guide.inc have the same symbols in the same order");

// ---- What the user means --------------------------------------------------------------------------------------------

template <typename Number>
std::optional<std::int32_t> numberFrom(std::string_view digits, int base) {
    Number number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
    const bool isWhole = !digits.empty() && error == std::errc() && end == digits.data() + digits.size();
    return isWhole ? std::optional(static_cast<std::int32_t>(number)) : std::nullopt;
}

// 0xC2110122, C2110122, -1038024414 or 3256942882. Eight digits are hexadecimal, as codes are printed.
std::optional<std::int32_t> codeFrom(std::string_view text) {
    constexpr std::size_t kHexDigits = 8;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        return numberFrom<std::uint32_t>(text.substr(2), 16);
    }
    if (text.starts_with('-')) {
        return numberFrom<std::int32_t>(text, 10);
    }
    return numberFrom<std::uint32_t>(text, text.size() == kHexDigits ? 16 : 10);
}

bool sameWord(std::string_view a, std::string_view b) {
    return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

const Entry* entryNamed(std::string_view symbol) {
    for (const Entry& entry : kEntries) {
        if (sameWord(entry.symbol, symbol)) {
            return &entry;
        }
    }
    return nullptr;
}

const Entry* entryOf(std::int32_t code) {
    for (const Entry& entry : kEntries) {
        if (entry.code == code) {
            return &entry;
        }
    }
    return nullptr;
}

std::string rangeOf(std::int32_t code) {
    struct Range {
        std::uint32_t facility;
        const char* what;
    };
    constexpr Range kRanges[] = {
        {0xC211, "0xC211nnnn are the statuses of tallow itself, perhaps of a newer version"},
        {0x8009, "0x8009nnnn are errors of keys, signatures and encodings in the platform"},
        {0x800B, "0x800Bnnnn are errors of chains and trust in the platform"},
        {0x8010, "0x8010nnnn are errors of tokens in the platform"},
        {0x8004, "0x8004nnnn are general errors of the platform"},
        {0x8000, "0x8000nnnn are general errors of the platform"},
    };
    constexpr std::uint32_t kSystem = 0x8007;
    const auto bits = static_cast<std::uint32_t>(code);
    const std::uint32_t facility = bits >> 16;
    const int number = static_cast<int>(bits & 0xFFFF);
    if (facility == kSystem) {
        const std::string name = std::strerror(number);
        return "0x8007nnnn is system error n, here " + std::to_string(number) +
               (name.starts_with("Unknown error") ? "" : ": " + name);
    }
    for (const Range& range : kRanges) {
        if (range.facility == facility) {
            return range.what;
        }
    }
    return "codes begin with 0xC211, 0x8000, 0x8004, 0x8007, 0x8009, 0x800B or 0x8010";
}

const Entry& entryMeant(const std::string& given) {
    const std::optional<std::int32_t> code = codeFrom(given);
    const Entry* const entry = code ? entryOf(*code) : entryNamed(given);
    if (entry != nullptr) {
        return *entry;
    }
    if (code) {
        const std::string hex = text::codeText(*code);
        throw InputError(given, (given == hex ? "" : "this is " + hex + ", which ") +
                                    "is not in the list that tallow explain prints; " + rangeOf(*code));
    }
    std::vector<std::string> symbols;
    for (const Entry& each : kEntries) {
        symbols.emplace_back(each.symbol);
    }
    const std::string near = closestName(given, symbols);
    throw InputError(given, near.empty() ? "is not a status; tallow explain without a code lists them all"
                                         : "is not a status; did you mean " + near + "?");
}

// ---- Text -----------------------------------------------------------------------------------------------------------

std::string_view meaningOf(const Entry& entry) {
    return entry.text.substr(0, entry.text.find("; "));
}

std::string_view remedyOf(const Entry& entry) {
    return entry.text.substr(entry.text.find("; ") + 2);
}

// Names of fields such as nextUpdate keep their first letter.
std::string sentence(std::string_view words) {
    std::string text(words);
    const std::string_view first = words.substr(0, words.find(' '));
    const bool isName = first.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") != std::string_view::npos;
    if (!isName && text.front() >= 'a' && text.front() <= 'z') {
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    }
    return text + '.';
}

std::string listed(std::string_view lines) {
    std::string text;
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(std::min(lines.size(), line.size() + 1));
        text += wrapped(line, 4, "  - ");
    }
    return text;
}

std::string explanationOf(const Entry& entry) {
    const Guide& guide = kGuides[&entry - kEntries];
    return text::codeText(entry.code) + " " + std::string(entry.symbol) + "\n\n" +
           wrapped(sentence(meaningOf(entry)), 0) + "\nUsual causes:\n" + listed(guide.causes) + "\nWhat to do:\n" +
           listed(sentence(remedyOf(entry))) + listed(guide.remedies);
}

std::string listOfAll() {
    std::string text;
    for (const Entry& entry : kEntries) {
        text +=
            text::codeText(entry.code) + " " + std::string(entry.symbol) + ": " + std::string(meaningOf(entry)) + '\n';
    }
    return text;
}

}  // namespace

Outcome runExplain(const ExplainOptions& options) {
    if (options.code.empty()) {
        return {listOfAll(), "", kExitGood};
    }
    if (codeFrom(options.code) == status::kOk || sameWord(options.code, status::symbol(status::kOk))) {
        return {text::codeText(status::kOk) + " Ok\n\n" + sentence(status::text(status::kOk)) + '\n', "", kExitGood};
    }
    return {explanationOf(entryMeant(options.code)), "", kExitGood};
}

}  // namespace tallow::cli
