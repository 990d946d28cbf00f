#include "cli/closest_name.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace tallow::cli {

namespace {

constexpr std::size_t kLongestName = 100;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
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

bool isSameButForCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

std::string closestName(std::string_view name, std::span<const std::string> known) {
    std::string closest;
    std::size_t fewest = kLongestName;
    for (const std::string& candidate : known) {
        const std::size_t changes = name.size() > kLongestName ? fewest : editDistance(name, candidate);
        if (changes < fewest && changes <= std::max<std::size_t>(1, candidate.size() / 3)) {
            fewest = changes;
            closest = candidate;
        }
    }
    return closest;
}

}  // namespace tallow::cli
