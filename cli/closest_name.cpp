#include "cli/closest_name.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace tallow::cli {

namespace {

constexpr std::size_t kLongestName = 100;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

// The edit distance, by rows of the usual table.
std::size_t numChanges(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (const char c : from) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < to.size(); ++i) {
            const std::size_t replaced = diagonal + (lower(c) == lower(to[i]) ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({replaced, row[i] + 1, row[i + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

bool isSameButForCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

std::string closestName(std::string_view name, std::span<const std::string> known) {
    std::string closest;
    std::size_t fewest = kLongestName;
    for (const std::string& candidate : known) {
        const std::size_t changes = name.size() > kLongestName ? fewest : numChanges(name, candidate);
        if (changes < fewest && changes <= candidate.size() / 3) {
            fewest = changes;
            closest = candidate;
        }
    }
    return closest;
}

}  // namespace tallow::cli
