// Rules for types and members. Rules for objects, identifiers and names are in check_names.cpp.
#include "schema/compiler/check.h"

#include <algorithm>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "schema/compiler/check_names.h"
#include "schema/compiler/queries.h"

namespace schemac {
namespace {

constexpr std::size_t kMaxPresenceBits = 32;  // `m` is one word
constexpr std::size_t kMaxMembers = 1024;     // schema::kMaxMembers

bool isRecord(const Type& type) {
    return type.use.kind == Kind::Sequence || type.use.kind == Kind::Set;
}

// T ::= U, U ::= T.
void checkAlias(const Type& type, Diagnostics& diagnostics) {
    if (type.use.kind != Kind::Named) {
        return;
    }
    const Type* at = &type;
    std::unordered_set<const Type*> seen;
    while (at->use.kind == Kind::Named && seen.insert(at).second) {
        at = at->use.type;
    }
    if (at == &type) {
        diagnostics.error(type.span, quoted(type.name) + " is defined by itself");
    } else if (seen.size() > 90) {
        diagnostics.error(type.span, quoted(type.name) + " is an alias of an alias too many");
    }
}

// A record that always contains itself can never be encoded.
class EmbeddingCheck {
public:
    explicit EmbeddingCheck(Diagnostics& diagnostics) : diagnostics_(diagnostics) {}

    // An explicit stack instead of recursion: a chain of records may be as long as the schema.
    void run(const Type& root) {
        if (!isRecord(root) || done_.count(&root) != 0) {
            return;
        }
        stack_.push_back({&root, 0});
        open_.insert(&root);
        while (!stack_.empty()) {
            const auto [type, next] = stack_.back();
            if (next == type->members.size()) {
                done_.insert(type);
                open_.erase(type);
                stack_.pop_back();
                continue;
            }
            ++stack_.back().second;
            visit(*type, type->members[next]);
        }
    }

private:
    void visit(const Type& type, const Member& member) {
        const Type* const inner = underlyingType(member.use);
        if (!isAlwaysPresent(member) || inner == nullptr || !isRecord(*inner)) {
            return;
        }
        if (open_.count(inner) != 0) {
            diagnostics_.error(member.span,
                               quoted(inner->name) + " contains itself without end through " + quoted(type.name));
        } else if (done_.count(inner) == 0) {
            open_.insert(inner);
            stack_.push_back({inner, 0});
        }
    }

    Diagnostics& diagnostics_;
    std::unordered_set<const Type*> open_;
    std::unordered_set<const Type*> done_;
    std::vector<std::pair<const Type*, std::size_t>> stack_;
};

void checkMemberNames(const Type& type, Diagnostics& diagnostics) {
    std::unordered_set<std::string> names;
    for (const Member& member : type.members) {
        if (!names.insert(member.cppName).second) {
            diagnostics.error(member.span, quoted(type.name) + " has two members " + quoted(member.cppName));
        }
        if (isRecord(type) && (member.cppName == "m" || member.cppName == "extensionAdditions")) {
            diagnostics.error(member.span, "the record has a field " + quoted(member.cppName) +
                                               " of its own: give the member another name with 'name'");
        }
        checkCppName(member.cppName, member.span, diagnostics);
    }
}

void checkNumMembers(const Type& type, Diagnostics& diagnostics) {
    if (type.members.size() > kMaxMembers) {
        diagnostics.error(type.span, quoted(type.name) + " has more than " + std::to_string(kMaxMembers) + " members");
    }
    const auto numBits = static_cast<std::size_t>(std::count_if(
        type.members.begin(), type.members.end(), [](const Member& member) { return !isAlwaysPresent(member); }));
    if (numBits > kMaxPresenceBits) {
        diagnostics.error(type.span, quoted(type.name) + " has more than 32 optional members");
    }
}

// The tags that can start a use.
using TagKey = std::pair<TagClass, std::uint32_t>;
struct FirstTags {
    std::vector<TagKey> keys;
    bool isAny = false;  // an open type: any tag at all
};

void collectFirstTags(const Use& use, FirstTags& first, int depth) {
    const WireTags tags = wireTags(use);
    if (!tags.written.empty()) {
        first.keys.emplace_back(tags.written.front().tagClass, tags.written.front().number);
        return;
    }
    const Use* const base = underlying(use);
    if (const Type* const keptRaw = typeKeptRaw(use)) {
        collectFirstTags(keptRaw->use, first, depth);
        return;
    }
    if (universalTag(base->kind) != 0) {
        first.keys.emplace_back(TagClass::Universal, universalTag(base->kind));
        return;
    }
    first.isAny = first.isAny || base->kind == Kind::Open;
    const Type* const choice = underlyingType(use);
    if (base->kind != Kind::Choice || choice == nullptr || depth >= 8 || first.keys.size() > 1000) {
        return;
    }
    for (const Member& alternative : choice->members) {
        collectFirstTags(alternative.use, first, depth + 1);
    }
}

void reportTwins(const Member& member, const FirstTags& first, std::set<TagKey>& seen, Diagnostics& diagnostics) {
    bool isTwin = false;
    for (const TagKey& key : first.keys) {
        isTwin = !seen.insert(key).second || isTwin;
    }
    if (isTwin) {
        diagnostics.error(member.span, quoted(member.name.text) + " begins with a tag that another member has, too");
    }
}

// The alternatives of a CHOICE, the members of a SET, and the members of a SEQUENCE up to the next one that is always
// present must differ in their first tag. An open value of any type matches the elements of the members after it.
void checkTagsDiffer(const Type& type, Diagnostics& diagnostics) {
    std::set<TagKey> seen;
    const Member* any = nullptr;
    for (const Member& member : type.members) {
        if (any != nullptr) {
            diagnostics.error(any->span, quoted(any->name.text) + " takes any element, also one meant for " +
                                             quoted(member.name.text));
        }
        const bool endsRun = type.use.kind == Kind::Sequence && isAlwaysPresent(member);
        FirstTags first;
        collectFirstTags(member.use, first, 0);
        reportTwins(member, first, seen, diagnostics);
        if (endsRun) {
            seen.clear();
        }
        any = first.isAny && !endsRun ? &member : nullptr;
    }
}

// A tag around a tag around a type: one of them must be defined as a separate type.
void checkTagDepth(const Use& use, Diagnostics& diagnostics) {
    const WireTags tags = wireTags(use);
    const bool isWrapped = tags.written.size() == 1 && !tags.written.front().isExplicit;
    if (tags.written.size() > 1 || (isWrapped && tags.isUniversalKept)) {
        diagnostics.error(use.span, "more than one tag around a type is not carried");
    }
}

bool takesSize(Kind kind) {
    return kind == Kind::OctetString || kind == Kind::BitString || kind == Kind::SequenceOf || kind == Kind::SetOf ||
           (kind >= Kind::NumericString && kind <= Kind::UniversalString) || kind == Kind::Unresolved;
}

void checkBounds(const Use& use, Diagnostics& diagnostics) {
    const Kind kind = underlyingKind(use);
    if (use.size && !takesSize(kind)) {
        diagnostics.error(use.size->span, "this type has no size");
    }
    if (use.size && use.kind == Kind::Named && isConstructed(kind)) {
        diagnostics.error(use.size->span, "the size of a named list stands in its definition");
    }
    const bool isBig = use.isBig || underlying(use)->isBig;
    if (use.range && kind == Kind::Integer && !isBig) {
        const std::int64_t low = use.range->low.value_or(0);
        const std::int64_t high = use.range->high.value_or(0);
        const bool isUnsigned = use.range->low && low >= 0;
        const bool fits =
            isUnsigned ? low <= 0xFFFFFFFFLL && high <= 0xFFFFFFFFLL : low >= -0x80000000LL && high <= 0x7FFFFFFFLL;
        if (!fits) {
            diagnostics.error(use.range->span, "this range needs more than 32 bits: annotate the type with 'big'");
        }
    }
}

void checkNumbers(const Type& type, Diagnostics& diagnostics) {
    std::set<std::string_view> names;
    std::set<std::int64_t> values;
    for (const NamedNumber& number : type.named) {
        if (!names.insert(number.name.text).second) {
            diagnostics.error(number.name.span, quoted(number.name.text) + " is named twice");
        }
        if (!values.insert(number.value).second) {
            diagnostics.error(number.name.span, std::to_string(number.value) + " has two names");
        }
        if (type.use.kind != Kind::Integer && (number.value < 0 || number.value > 0xFFFFFFFELL)) {
            diagnostics.error(number.name.span, "a value from 0 to 4294967294 expected");
        }
        if (type.below && number.value >= *type.below) {
            diagnostics.error(number.name.span,
                              quoted(number.name.text) + " is not below " + std::to_string(*type.below));
        }
    }
    if (type.use.kind == Kind::Enumerated && type.named.empty()) {
        diagnostics.error(type.span, quoted(type.name) + " names no value");
    }
}

void checkDefault(const Member& member, Diagnostics& diagnostics) {
    const Kind kind = underlyingKind(member.use);
    const bool isBoolean = member.defaultValue.kind == ValueNode::Kind::Boolean;
    if (member.presence == Presence::Default && kind != Kind::Unresolved && isBoolean != (kind == Kind::Boolean)) {
        diagnostics.error(member.defaultValue.span,
                          kind == Kind::Boolean ? "TRUE or FALSE expected" : "only a BOOLEAN is TRUE or FALSE");
    }
}

// The key of a table constraint selects the type of the open value.
void checkTable(const Type& type, Diagnostics& diagnostics) {
    if (type.takesAnyString && (!type.table || type.table->form == TableForm::InOctetString)) {
        diagnostics.error(type.span, quoted(type.name) + " has no open value that could be any string");
    }
    if (!type.table) {
        return;
    }
    const Member& key = type.members[type.table->keyMember];
    const Kind kind = underlyingKind(key.use);
    if (kind != Kind::ObjectIdentifier && kind != Kind::Unresolved) {
        diagnostics.error(key.span, "the key of a table constraint is an OBJECT IDENTIFIER");
    }
    if (!isAlwaysPresent(key)) {
        diagnostics.error(key.span, "the key of a table constraint cannot be left out");
    }
}

void checkElement(const Type& type, Diagnostics& diagnostics) {
    if (!type.element) {
        return;
    }
    if (underlyingKind(*type.element) == Kind::Null) {
        diagnostics.error(type.element->span, "a list of NULL holds nothing");
    }
    if (type.element->table && !type.isLifted) {
        diagnostics.error(type.element->span, "the key of these values is out of reach; write the list as a member");
    }
}

void checkType(const Type& type, Diagnostics& diagnostics) {
    if (type.isRawIfTooBig && type.use.kind != Kind::Sequence && type.use.kind != Kind::Set) {
        diagnostics.error(type.span, quoted(type.name) + " is no record whose numbers could be too big");
    }
    checkAlias(type, diagnostics);
    checkBounds(type.use, diagnostics);
    checkTagDepth(type.use, diagnostics);
    checkMemberNames(type, diagnostics);
    checkNumbers(type, diagnostics);
    checkTagsDiffer(type, diagnostics);
    checkNumMembers(type, diagnostics);
    checkTable(type, diagnostics);
    checkElement(type, diagnostics);
    if (type.element) {
        checkBounds(*type.element, diagnostics);
        checkTagDepth(*type.element, diagnostics);
    }
    for (const Member& member : type.members) {
        checkBounds(member.use, diagnostics);
        checkTagDepth(member.use, diagnostics);
        checkDefault(member, diagnostics);
    }
}

}  // namespace

void check(const Model& model, Diagnostics& diagnostics) {
    EmbeddingCheck embedding(diagnostics);
    for (const Type& type : model.types) {
        checkType(type, diagnostics);
        embedding.run(type);
    }
    checkObjects(model, diagnostics);
    checkGlobalNames(model, diagnostics);
}

}  // namespace schemac
