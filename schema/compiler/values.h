// Evaluates integers and object identifiers, through any number of references.
#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>

#include "schema/compiler/model.h"
#include "schema/compiler/scope.h"

namespace schemac {

class Values {
public:
    static constexpr std::size_t kMaxArcs = 128;  // the capacity of the library's identifier record

    Values(const Scope& scope, Diagnostics& diagnostics) : scope_(scope), diagnostics_(diagnostics) {}

    // Reports an error and returns nothing if the value is not an integer or does not fit.
    std::optional<std::int64_t> integer(const ValueNode& value);
    std::optional<Arcs> objectId(const ValueNode& value);

private:
    std::optional<std::int64_t> integer(const ValueNode& value, int depth);
    std::optional<Arcs> objectId(const ValueNode& value, int depth);
    bool appendComponent(Arcs& arcs, const TokenRange& range, const Token*& at, int depth);
    bool appendWord(Arcs& arcs, const Token& word, int depth);
    bool appendNumber(Arcs& arcs, const ValueNode& number, int depth);
    std::optional<Arcs> ofAssignment(const Name& name, int depth);

    const Scope& scope_;
    Diagnostics& diagnostics_;
    std::unordered_map<const AssignmentNode*, std::optional<Arcs>> known_;
};

}  // namespace schemac
