// How one use of a type is stored and described. Part of layOut().
#pragma once

#include <string>
#include <string_view>

#include "schema/compiler/layout.h"

namespace schemac {

// Octet strings up to this size are stored inline. Longer and unbounded ones are stored by pointer.
constexpr std::uint32_t kMaxOctetsInPlace = 64;

// The C++ form of a primitive.
struct Plain {
    std::string kind;
    std::string cppType;
    std::string initializer;
    std::string countField;  // appended to the value's path in an error report: ".numocts"; empty for a plain value
    bool isWord = false;     // a number or a pointer to text: stored by value in a union
    unsigned universal = 0;
    std::optional<std::uint32_t> lower;
    std::optional<std::uint32_t> upper;
};
Plain describePlain(const Use& use);

// True for a record, a CHOICE or a list, by any number of names.
bool isStructuredUse(const Use& use);

// The type that this one renames without adding anything, or null.
const Type* aliasTarget(const Type& type);
// The type at the end of a chain of such names.
const Type& withoutAliases(const Type& type);

// The name of the TypeInfo of the whole type, and of its record without the tag in its definition.
std::string typeInfoName(const Type& type);
std::string shapeName(const Type& type);

// Kind, tag, flags and bounds of the entry. `path` is the C path of the value ("pvalue->u.name") for reports of
// violated bounds. `isPointer` is true when the record holds a pointer to the value.
MemberLayout describeMember(const Use& use, const std::string& path, bool isPointer);

// The type of a field that holds the value itself.
std::string fieldType(const Use& use);
// The type that a pointer to the value points to. Never an alias, so that a forward declaration is enough.
std::string pointeeType(const Use& use);

}  // namespace schemac
