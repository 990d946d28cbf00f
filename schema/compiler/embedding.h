// Finds records that would embed themselves. There a pointer replaces the embedded record. Part of layOut().
#pragma once

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "schema/compiler/model.h"

namespace schemac {

// Records that embed each other form a cycle. Tarjan's algorithm finds all cycles in one pass. It is not recursive
// here, since a chain of records may be as long as the schema.
class Embedding {
public:
    explicit Embedding(const Model& model);

    // True when the record would contain itself through this member.
    bool isCircular(const Type& owner, const Use& use) const;

private:
    struct State {
        std::size_t number = 0;        // in visiting order
        std::size_t lowest = 0;        // the smallest number on the open path that is reachable from here
        const Type* circle = nullptr;  // one record represents the whole cycle; null while open
    };
    struct Step {
        const Type* type;
        std::size_t nextMember;
    };

    void open(const Type& type);
    void walk(const Type& root);
    void close(const Type& type);

    std::unordered_map<const Type*, State> states_;
    std::vector<Step> path_;
    std::vector<const Type*> unassigned_;
};

}  // namespace schemac
