// Questions about the model that several stages ask.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "schema/compiler/model.h"

namespace schemac {

// What a use comes down to when names are followed: never Named; Unresolved for a name that leads back to itself.
// Answers the use that spells the kind out.
const Use* underlying(const Use& use);
Kind underlyingKind(const Use& use);

// The type that is structured in the end (its own kind is not Named), or null.
const Type* underlyingType(const Use& use);

// What would stand in place of an open type were it not kept raw; null when that is any type, or spelled out in place.
const Type* typeKeptRaw(const Use& use);

// True when the use itself has no tag to be told by: a CHOICE or an open type under no tag.
bool isUntagged(const Use& use);

// The tags that go on the wire, outermost first: an implicit one takes the place of the next.
struct WireTags {
    std::vector<Tag> written;     // without the universal tag
    bool isUniversalKept = true;  // false when an implicit tag replaced it, or the kind has none
};
WireTags wireTags(const Use& use);

// True when no value lacks the member. An addition is missing from messages of the type's older versions.
bool isAlwaysPresent(const Member& member);

// The number of the universal tag; 0 for a kind that has none.
std::uint32_t universalTag(Kind kind);
bool isConstructed(Kind kind);

std::string cppIdentifier(std::string_view name);
std::string quoted(std::string_view text);
std::string dotted(const Arcs& arcs);

}  // namespace schemac
