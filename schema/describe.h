// Derives the TypeInfo of a type from its record and its member table, at compile time. For generated sources only.
//
//     const TypeInfo kType_CertID = describe<ASN1T_CertID>(Kind::Sequence, kMembers_CertID);
#pragma once

#include <cstddef>

#include "schema/record.h"

// offsetof is only conditionally supported for records, which have a base class with a data member. GCC and clang
// support it. The generated sources use it too, so the warning stays off for the rest of the file.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace schema {

/// What neither the record nor the member table shows.
struct TypeTraits {
    bool rawIfTooBig = false;
    bool bounded = false;
    std::uint32_t lower = 0;
    std::uint32_t upper = kUnbounded;
    std::uint16_t numBeforeAdditions = 0;
    const TableInfo* table = nullptr;
};

/// A SEQUENCE or SET without members.
template <class Record>
constexpr TypeInfo describe(Kind kind, const TypeTraits& traits = {}) {
    TypeInfo info = {.kind = kind};
    info.rawIfTooBig = traits.rawIfTooBig;
    info.bounded = traits.bounded;
    info.size = sizeof(Record);
    info.lower = traits.lower;
    info.upper = traits.upper;
    info.table = traits.table;
    if (kind == Kind::Sequence || kind == Kind::Set) {
        if constexpr (requires { &Record::m; }) {
            info.presenceOffset = offsetof(Record, m);
        }
        if constexpr (requires { &Record::extensionAdditions; }) {
            info.extensible = true;
            info.extensionOffset = offsetof(Record, extensionAdditions);
        }
    } else if (kind == Kind::Array) {
        if constexpr (requires { &Record::n; }) {
            info.listOffset = offsetof(Record, n);
        }
    } else if (kind == Kind::SequenceOf || kind == Kind::SetOf) {
        if constexpr (requires { &Record::count; }) {
            info.listOffset = offsetof(Record, count);
        }
    }
    return info;
}

/// Any other type.
template <class Record, std::size_t count>
constexpr TypeInfo describe(Kind kind, const MemberInfo (&members)[count], const TypeTraits& traits = {}) {
    static_assert(count <= kMaxMembers);
    TypeInfo info = describe<Record>(kind, traits);
    info.numMembers = count;
    info.numBeforeAdditions = info.extensible ? traits.numBeforeAdditions : count;
    info.members = members;
    for (const MemberInfo& member : members) {
        const bool isRequired = (member.flags & (kOptional | kDefaultFalse | kDefaultTrue)) == 0;
        info.numRequired += isRequired && (kind == Kind::Sequence || kind == Kind::Set) ? 1 : 0;
    }
    return info;
}

}  // namespace schema
