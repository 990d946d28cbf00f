// See layout_member.h.
#include "schema/compiler/layout_member.h"

#include <limits>

#include "schema/compiler/queries.h"

namespace schemac {
namespace {

constexpr int kMaxAliases = 100;

// The bounds nearest to the use apply.
template <class Bounds>
const Bounds* nearest(const Use& use, std::optional<Bounds> Use::*bounds) {
    const Use* at = &use;
    for (int i = 0; i < kMaxAliases; ++i) {
        if (at->*bounds) {
            return &*(at->*bounds);
        }
        if (at->kind != Kind::Named) {
            break;
        }
        at = &at->type->use;
    }
    return nullptr;
}

void describeInteger(const Use& use, Plain& plain) {
    if (use.isBig || underlying(use)->isBig) {
        plain.kind = "BigInteger";
        plain.cppType = "const char*";
        plain.initializer = " = nullptr";
        return;
    }
    const ValueBounds* const range = nearest(use, &Use::range);
    const bool isUnsigned = range != nullptr && range->low && *range->low >= 0;
    plain.kind = isUnsigned ? "Unsigned" : "Integer";
    plain.cppType = isUnsigned ? "std::uint32_t" : "std::int32_t";
    plain.initializer = " = 0";
    if (range != nullptr && (range->high || (range->low && (!isUnsigned || *range->low > 0)))) {
        const std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
        const std::int64_t highest = isUnsigned ? 0xFFFFFFFFLL : std::numeric_limits<std::int32_t>::max();
        plain.lower = static_cast<std::uint32_t>(range->low.value_or(lowest));
        plain.upper = static_cast<std::uint32_t>(range->high.value_or(highest));
    }
}

// Without an extension marker, values above the largest one are rejected.
void describeEnumerated(const Use& use, Plain& plain) {
    plain.kind = "Enumerated";
    plain.cppType = "std::uint32_t";
    plain.initializer = " = 0";
    const Type* const type = underlyingType(use);
    if (type == nullptr || (type->isExtensible && !type->below)) {
        return;
    }
    std::int64_t largest = 0;
    for (const NamedNumber& number : type->named) {
        largest = std::max(largest, number.value);
    }
    if (type->below) {
        largest = std::max<std::int64_t>(*type->below - 1, 0);
    }
    plain.lower = 0;
    plain.upper = static_cast<std::uint32_t>(largest);
}

void setTypes(Plain& plain, const char* kind, const char* cppType, const char* initializer, const char* countField) {
    plain.kind = kind;
    plain.cppType = cppType;
    plain.initializer = initializer;
    plain.countField = countField;
}

void describeOctets(const Use& use, Plain& plain) {
    const SizeBounds* const size = nearest(use, &Use::size);
    const bool isInPlace = size != nullptr && size->high <= kMaxOctetsInPlace && !underlying(use)->table;
    if (isInPlace) {
        setTypes(plain, "FixedOctetString", "", "", ".numocts");
    } else {
        setTypes(plain, "OctetString", "ASN1TDynOctStr", " = {}", ".numocts");
    }
}

}  // namespace

bool isStructuredUse(const Use& use) {
    const Kind kind = underlyingKind(use);
    return isConstructed(kind) || kind == Kind::Choice;
}

Plain describePlain(const Use& use) {
    Plain plain;
    const Use& base = *underlying(use);
    const SizeBounds* const size = nearest(use, &Use::size);
    if (size != nullptr) {
        plain.lower = size->low;
        plain.upper = size->high;
    }
    switch (base.kind) {
        case Kind::Boolean:
            setTypes(plain, "Boolean", "std::uint8_t", " = 0", "");
            break;
        case Kind::Integer:
            describeInteger(use, plain);
            break;
        case Kind::Enumerated:
            describeEnumerated(use, plain);
            break;
        case Kind::Null:
            setTypes(plain, "Null", "", "", "");
            break;
        case Kind::ObjectIdentifier:
            setTypes(plain, "ObjectId", "ASN1TObjId", "", "");
            break;
        case Kind::OctetString:
            describeOctets(use, plain);
            break;
        case Kind::BitString:
            setTypes(plain, "BitString", "ASN1TDynBitStr", " = {}", ".numbits");
            break;
        case Kind::UTF8String:
            setTypes(plain, "Utf8String", "const char*", " = nullptr", "");
            break;
        case Kind::BMPString:
            setTypes(plain, "BmpString", "ASN1T16BitCharStr", " = {}", ".nchars");
            break;
        case Kind::UniversalString:
            setTypes(plain, "UniversalString", "ASN1T32BitCharStr", " = {}", ".nchars");
            break;
        case Kind::Open:
            setTypes(plain, "OpenType", "ASN1TOpenType", " = {}", ".numocts");
            break;
        default:
            setTypes(plain, "CharString", "const char*", " = nullptr", "");
            plain.universal = universalTag(base.kind);
    }
    plain.isWord = plain.initializer == " = 0" || plain.initializer == " = nullptr";
    return plain;
}

const Type* aliasTarget(const Type& type) {
    const bool addsNothing = type.use.tags.empty() && !type.use.size && !type.use.range && !type.use.isBig;
    return type.use.kind == Kind::Named && (addsNothing || (isStructuredUse(type.use) && type.use.tags.empty()))
               ? type.use.type
               : nullptr;
}

const Type& withoutAliases(const Type& type) {
    const Type* at = &type;
    while (const Type* const target = aliasTarget(*at)) {
        at = target;
    }
    return *at;
}

std::string typeInfoName(const Type& type) {
    return "kType_" + withoutAliases(type).cppName;
}

std::string shapeName(const Type& type) {
    Use use;
    use.kind = Kind::Named;
    use.type = const_cast<Type*>(&type);
    const Type& record = *underlyingType(use);
    return (record.use.tags.empty() ? "kType_" : "kShape_") + record.cppName;
}

namespace {

const char* structuredKind(const Type& record) {
    switch (record.use.kind) {
        case Kind::Set:
            return "Set";
        case Kind::Choice:
            return "Choice";
        case Kind::SequenceOf:
            return record.isArray ? "Array" : "SequenceOf";
        case Kind::SetOf:
            return record.isArray ? "Array" : "SetOf";
        default:
            return "Sequence";
    }
}

std::uint32_t classBits(TagClass tagClass) {
    switch (tagClass) {
        case TagClass::Application:
            return 0x40000000;
        case TagClass::Context:
            return 0x80000000;
        case TagClass::Private:
            return 0xC0000000;
        case TagClass::Universal:
            break;
    }
    return 0;
}

void describeTag(const Use& use, MemberLayout& member) {
    constexpr std::uint32_t kConstructed = 0x20000000;
    const Kind kind = underlyingKind(use);
    const WireTags tags = wireTags(use);
    const Type* const keptRaw = typeKeptRaw(use);
    if (tags.written.empty() && keptRaw != nullptr) {
        MemberLayout read;
        describeTag(keptRaw->use, read);
        member.tag = read.tag;
        return;
    }
    if (tags.written.empty()) {
        member.tag = universalTag(kind) | (isConstructed(kind) ? kConstructed : 0);
        return;
    }
    const Tag& outermost = tags.written.front();
    const bool isConstructedTag = outermost.isExplicit || isConstructed(kind);
    member.tag = classBits(outermost.tagClass) | outermost.number | (isConstructedTag ? kConstructed : 0);
    member.flags.emplace_back(outermost.isExplicit ? "kExplicit" : "kImplicit");
}

}  // namespace

MemberLayout describeMember(const Use& use, const std::string& path, bool isPointer) {
    MemberLayout member;
    describeTag(use, member);
    if (isStructuredUse(use)) {
        const Type& record = *underlyingType(use);
        member.kind = structuredKind(record);
        member.typeInfo = shapeName(record);
    } else {
        const Plain plain = describePlain(use);
        member.kind = plain.kind;
        member.universal = plain.universal;
        member.lower = plain.lower;
        member.upper = plain.upper;
        if (plain.lower || plain.upper) {
            member.flags.emplace_back("kBounded");
            const std::string count = plain.countField.empty() ? "" : plain.countField.substr(1);
            const bool isWhole = path == "*pvalue";
            member.path = plain.countField.empty() ? path
                          : isWhole                ? "pvalue->" + count
                                                   : path + (isPointer ? "->" : ".") + count;
        }
    }
    if (isPointer) {
        member.flags.emplace_back("kPointer");
    }
    return member;
}

std::string pointeeType(const Use& use) {
    if (isStructuredUse(use)) {
        const Type& record = *underlyingType(use);
        const bool isLiftedList = record.isLifted && record.element && !record.isArray;
        return isLiftedList ? "ASN1TSeqOfList" : "ASN1T_" + record.cppName;
    }
    const Plain plain = describePlain(use);
    if (plain.kind != "FixedOctetString" || use.kind != Kind::Named) {
        return plain.cppType;
    }
    // The struct belongs to the type that states the size.
    const Type* type = use.type;
    while (type->use.kind == Kind::Named && !type->use.size) {
        type = type->use.type;
    }
    return use.size ? "" : "ASN1T_" + type->cppName;
}

std::string fieldType(const Use& use) {
    if (use.kind != Kind::Named) {
        return describePlain(use).cppType;
    }
    if (isStructuredUse(use)) {
        return "ASN1T_" + use.type->cppName;
    }
    Use bare;
    bare.kind = Kind::Named;
    bare.type = use.type;
    const Plain plain = describePlain(use);
    const bool isSame = describePlain(bare).cppType == plain.cppType && plain.kind != "Null" &&
                        !(plain.kind == "FixedOctetString" && use.size);
    return isSame ? "ASN1T_" + use.type->cppName : plain.cppType;
}

}  // namespace schemac
