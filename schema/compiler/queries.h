// Queries about the model for several stages.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "schema/compiler/model.h"

namespace schemac {

// Follows names to the use that states the kind. The kind is never Named, and Unresolved for a cyclic name.
const Use* underlying(const Use& use);
Kind underlyingKind(const Use& use);

// Follows names to the type whose own kind is not Named, or null.
const Type* underlyingType(const Use& use);

// The type that an open type keeps raw; null if that can be any type or is written in place.
const Type* typeKeptRaw(const Use& use);

// True for a use without a tag of its own: an untagged CHOICE or open type.
bool isUntagged(const Use& use);

// The encoded tags, outermost first. An implicit tag replaces the next one.
struct WireTags {
    std::vector<Tag> written;     // without the universal tag
    bool isUniversalKept = true;  // false when an implicit tag replaced it, or the kind has none
};
WireTags wireTags(const Use& use);

// True when every value has the member. Messages of older versions lack additions.
bool isAlwaysPresent(const Member& member);

// The number of the universal tag; 0 for a kind that has none.
std::uint32_t universalTag(Kind kind);
bool isConstructed(Kind kind);

std::string cppIdentifier(std::string_view name);
std::string quoted(std::string_view text);
std::string dotted(const Arcs& arcs);

}  // namespace schemac
