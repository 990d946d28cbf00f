// Collects mistakes over all stages, so that one run reports every one of them, in the order of the files.
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
    // One line a mistake, "file:line:column: error: text", sorted by place; the same mistake at one place once.
    void print(std::ostream& out, const Sources& sources) const;

private:
    struct Error {
        Span where;
        std::string text;
    };
    std::vector<Error> errors_;
};

}  // namespace schemac
