// Follows names through the model.
#include "schema/compiler/queries.h"

#include <algorithm>

namespace schemac {
namespace {

// Longer chains of aliases are treated as cycles; check() reports them.
constexpr int kMaxAliases = 100;

const Use kNoUse;

}  // namespace

const Use* underlying(const Use& use) {
    const Use* at = &use;
    for (int i = 0; i < kMaxAliases; ++i) {
        if (at->kind != Kind::Named) {
            return at;
        }
        at = &at->type->use;
    }
    return &kNoUse;
}

Kind underlyingKind(const Use& use) {
    return underlying(use)->kind;
}

const Type* underlyingType(const Use& use) {
    const Use* at = &use;
    for (int i = 0; i < kMaxAliases && at->kind == Kind::Named; ++i) {
        if (at->type->use.kind != Kind::Named) {
            return at->type;
        }
        at = &at->type->use;
    }
    return nullptr;
}

const Type* typeKeptRaw(const Use& use) {
    const Use* at = underlying(use);
    for (int i = 0; i < kMaxAliases && at->kind == Kind::Open && at->type != nullptr; ++i) {
        const Use* const inner = underlying(at->type->use);
        if (inner->kind != Kind::Open) {
            return at->type;
        }
        at = inner;
    }
    return nullptr;
}

bool isUntagged(const Use& use) {
    const Use* at = &use;
    for (int i = 0; i < kMaxAliases && at->tags.empty(); ++i) {
        if (at->kind != Kind::Named) {
            return at->kind == Kind::Choice || at->kind == Kind::Open;
        }
        at = &at->type->use;
    }
    return false;
}

WireTags wireTags(const Use& use) {
    WireTags result;
    bool isReplaced = false;
    const Use* at = &use;
    for (int i = 0; i < kMaxAliases; ++i) {
        for (const Tag& tag : at->tags) {
            if (!isReplaced) {
                result.written.push_back(tag);
            }
            isReplaced = !tag.isExplicit;
        }
        if (at->kind != Kind::Named) {
            break;
        }
        at = &at->type->use;
    }
    result.isUniversalKept = !isReplaced && universalTag(at->kind) != 0;
    return result;
}

bool isAlwaysPresent(const Member& member) {
    return member.presence == Presence::Required && member.part != MemberPart::Additions;
}

std::uint32_t universalTag(Kind kind) {
    switch (kind) {
        case Kind::Boolean:
            return 1;
        case Kind::Integer:
            return 2;
        case Kind::BitString:
            return 3;
        case Kind::OctetString:
            return 4;
        case Kind::Null:
            return 5;
        case Kind::ObjectIdentifier:
            return 6;
        case Kind::Enumerated:
            return 10;
        case Kind::UTF8String:
            return 12;
        case Kind::Sequence:
        case Kind::SequenceOf:
            return 16;
        case Kind::Set:
        case Kind::SetOf:
            return 17;
        case Kind::NumericString:
            return 18;
        case Kind::PrintableString:
            return 19;
        case Kind::TeletexString:
            return 20;
        case Kind::IA5String:
            return 22;
        case Kind::UTCTime:
            return 23;
        case Kind::GeneralizedTime:
            return 24;
        case Kind::VisibleString:
            return 26;
        case Kind::UniversalString:
            return 28;
        case Kind::BMPString:
            return 30;
        case Kind::Open:
        case Kind::Choice:
        case Kind::Named:
        case Kind::Unresolved:
            break;
    }
    return 0;
}

bool isConstructed(Kind kind) {
    return kind == Kind::Sequence || kind == Kind::Set || kind == Kind::SequenceOf || kind == Kind::SetOf;
}

std::string cppIdentifier(std::string_view name) {
    std::string text(name);
    std::replace(text.begin(), text.end(), '-', '_');
    return text;
}

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

std::string dotted(const Arcs& arcs) {
    std::string text;
    for (const std::uint32_t arc : arcs) {
        text += (text.empty() ? "" : ".") + std::to_string(arc);
    }
    return text;
}

}  // namespace schemac
