// See embedding.h.
#include "schema/compiler/embedding.h"

#include <algorithm>

#include "schema/compiler/queries.h"

namespace schemac {
namespace {

bool isRecord(const Type& type) {
    return type.use.kind == Kind::Sequence || type.use.kind == Kind::Set;
}

}  // namespace

Embedding::Embedding(const Model& model) {
    for (const Type& type : model.types) {
        if (isRecord(type) && states_.count(&type) == 0) {
            walk(type);
        }
    }
}

bool Embedding::isCircular(const Type& owner, const Use& use) const {
    const Type* const inner = underlyingType(use);
    return inner != nullptr && isRecord(*inner) && states_.at(inner).circle == states_.at(&owner).circle;
}

void Embedding::open(const Type& type) {
    const std::size_t number = states_.size();
    states_[&type] = {number, number, nullptr};
    path_.push_back({&type, 0});
    unassigned_.push_back(&type);
}

void Embedding::walk(const Type& root) {
    open(root);
    while (!path_.empty()) {
        const Type& type = *path_.back().type;
        if (path_.back().nextMember == type.members.size()) {
            close(type);
            continue;
        }
        const Type* const inner = underlyingType(type.members[path_.back().nextMember++].use);
        if (inner == nullptr || !isRecord(*inner)) {
            continue;
        }
        const auto known = states_.find(inner);
        if (known == states_.end()) {
            open(*inner);
        } else if (known->second.circle == nullptr) {
            states_[&type].lowest = std::min(states_[&type].lowest, known->second.number);
        }
    }
}

void Embedding::close(const Type& type) {
    const State state = states_[&type];
    path_.pop_back();
    if (!path_.empty()) {
        State& parent = states_[path_.back().type];
        parent.lowest = std::min(parent.lowest, state.lowest);
    }
    if (state.lowest != state.number) {
        return;
    }
    const Type* member = nullptr;
    do {
        member = unassigned_.back();
        unassigned_.pop_back();
        states_[member].circle = &type;
    } while (member != &type);
}

}  // namespace schemac
