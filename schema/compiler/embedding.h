// Which records would embed themselves: there a pointer takes the place of the embedded record. Part of layOut().
#pragma once

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "schema/compiler/model.h"

namespace schemac {

// Records that reach each other by embedding form one circle. Tarjan's algorithm finds all circles in one walk, here
// without recursion, since a chain of records may be as long as the schema.
class Embedding {
public:
    explicit Embedding(const Model& model);

    // True when the record would contain itself through this member.
    bool isCircular(const Type& owner, const Use& use) const;

private:
    struct State {
        std::size_t number = 0;        // in the order of the walk
        std::size_t lowest = 0;        // the smallest number on an open path that is reached from here
        const Type* circle = nullptr;  // one record stands for all of a circle; null while still open
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
