// How one use of a type is stored and described: part of layOut().
#pragma once

#include <string>
#include <string_view>

#include "schema/compiler/layout.h"

namespace schemac {

// Octets are held in place up to this size; longer ones, and all without a bound, by pointer.
constexpr std::uint32_t kMaxOctetsInPlace = 64;

// What a primitive is in C++.
struct Plain {
    std::string kind;
    std::string cppType;
    std::string initializer;
    std::string countField;  // behind the value's path in an error report: ".numocts"; empty when the value itself
    bool isWord = false;     // a number or a pointer to text: stands in a union by value
    unsigned universal = 0;
    std::optional<std::uint32_t> lower;
    std::optional<std::uint32_t> upper;
};
Plain describePlain(const Use& use);

// True when the use ends in a record, a CHOICE or a list.
bool isStructuredUse(const Use& use);

// The type that another name stands for without adding anything, or null.
const Type* aliasTarget(const Type& type);
// The type at the end of such names.
const Type& withoutAliases(const Type& type);

// The name of the TypeInfo of a type as a whole, and of its record without the tag of its definition.
std::string typeInfoName(const Type& type);
std::string shapeName(const Type& type);

// Kind, tag, flags and bounds of the entry. `path` is where the value stands in the record ("pvalue->u.name"), for the
// report of a violated bound; `isPointer` when the record holds a pointer to it.
MemberLayout describeMember(const Use& use, const std::string& path, bool isPointer);

// The type of a field that holds the value itself.
std::string fieldType(const Use& use);
// The type that a pointer to the value points to; never the name of an alias, so that no definition is needed.
std::string pointeeType(const Use& use);

}  // namespace schemac
