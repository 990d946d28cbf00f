// Collects the errors of all stages, so that one run reports all of them in source order.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "schema/compiler/source.h"

namespace schemac {

class Diagnostics {
public:
    void error(Span where, std::string text);
    bool empty() const { return errors_.empty(); }
    std::size_t count() const { return errors_.size(); }
    // Prints one line per error, "file:line:column: error: text", sorted by position and without duplicates.
    void print(std::ostream& out, const Sources& sources) const;

private:
    struct Error {
        Span where;
        std::string text;
    };
    std::vector<Error> errors_;
};

}  // namespace schemac
