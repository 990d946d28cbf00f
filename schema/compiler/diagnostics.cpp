// Sorts and prints errors.
#include "schema/compiler/diagnostics.h"

#include <algorithm>
#include <ostream>
#include <tuple>
#include <utility>

namespace schemac {

void Diagnostics::error(Span where, std::string text) {
    errors_.push_back({where, std::move(text)});
}

void Diagnostics::print(std::ostream& out, const Sources& sources) const {
    const auto key = [](const Error& error) { return std::tie(error.where.file, error.where.begin, error.text); };
    std::vector<Error> sorted = errors_;
    std::stable_sort(sorted.begin(), sorted.end(), [&](const Error& a, const Error& b) { return key(a) < key(b); });
    const auto last =
        std::unique(sorted.begin(), sorted.end(), [&](const Error& a, const Error& b) { return key(a) == key(b); });
    for (auto error = sorted.begin(); error != last; ++error) {
        const Position at = sources.position(error->where);
        out << sources.name(error->where.file) << ':' << at.line << ':' << at.column << ": error: " << error->text
            << '\n';
    }
}

}  // namespace schemac
