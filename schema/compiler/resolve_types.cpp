// Types: inline and lifted definitions, and the bounds and tags of each use.
#include <algorithm>
#include <limits>
#include <utility>

#include "schema/compiler/queries.h"
#include "schema/compiler/resolver.h"

namespace schemac {
namespace {

// The most tokens that all expansions of parameterized types may produce together.
constexpr std::size_t kMaxExpandedTokens = 1u << 20;

struct BuiltinKind {
    std::string_view name;
    Kind kind;
};
constexpr BuiltinKind kBuiltinKinds[] = {
    {"BOOLEAN", Kind::Boolean},
    {"INTEGER", Kind::Integer},
    {"ENUMERATED", Kind::Enumerated},
    {"NULL", Kind::Null},
    {"OBJECT IDENTIFIER", Kind::ObjectIdentifier},
    {"OCTET STRING", Kind::OctetString},
    {"BIT STRING", Kind::BitString},
    {"NumericString", Kind::NumericString},
    {"PrintableString", Kind::PrintableString},
    {"TeletexString", Kind::TeletexString},
    {"T61String", Kind::TeletexString},
    {"VisibleString", Kind::VisibleString},
    {"ISO646String", Kind::VisibleString},
    {"IA5String", Kind::IA5String},
    {"UTF8String", Kind::UTF8String},
    {"BMPString", Kind::BMPString},
    {"UniversalString", Kind::UniversalString},
    {"UTCTime", Kind::UTCTime},
    {"GeneralizedTime", Kind::GeneralizedTime},
    {"ANY", Kind::Open},
};

// True when the type needs a name of its own.
bool isStructured(const TypeNode& node) {
    return node.syntax == TypeSyntax::Sequence || node.syntax == TypeSyntax::Set || node.syntax == TypeSyntax::Choice ||
           node.syntax == TypeSyntax::SequenceOf || node.syntax == TypeSyntax::SetOf || node.builtin == "ENUMERATED" ||
           !node.named.empty();
}

bool hasBounds(const TypeNode& node) {
    return std::any_of(node.constraints.begin(), node.constraints.end(), [](const ConstraintNode& constraint) {
        return constraint.kind == ConstraintNode::Kind::Size || constraint.kind == ConstraintNode::Kind::Range;
    });
}

}  // namespace

Type& Resolver::newType(Module& module, std::string name, std::string cppName, Span span, bool isLifted) {
    Type& type = model_.types.emplace_back();
    type.name = std::move(name);
    type.cppName = std::move(cppName);
    type.module = &module;
    type.span = span;
    type.isLifted = isLifted;
    return type;
}

// Defines a named type, with the tags and bounds in its definition.
void Resolver::define(Type& type, const TypeNode& node, const Place& place, const AnnotationSet& annotations) {
    if (node.hasActuals && !annotations.isOpen) {
        if (const TypeNode* const body = expand(node, place)) {
            define(type, *body, {place.module, place.path, place.depth + 1}, annotations);
        }
        addTags(node, type.use);
        applyConstraints(node, type.use, &type.named);
        return;
    }
    defineShape(type, node, place, annotations);
    addTags(node, type.use);
    applyConstraints(node, type.use, &type.named);
    if (annotations.isBig) {
        type.use.isBig = true;
        if (type.use.kind != Kind::Integer && type.use.kind != Kind::Unresolved) {
            diagnostics_.error(annotations.span, "only an INTEGER can be big");
        }
    }
    if (annotations.isArray && type.use.kind != Kind::SequenceOf && type.use.kind != Kind::SetOf) {
        diagnostics_.error(annotations.span, "only a SEQUENCE OF or SET OF can be an array");
    }
    if (annotations.below && type.use.kind != Kind::Enumerated) {
        diagnostics_.error(annotations.span, "only an ENUMERATED has values below a number");
    }
    type.takesAnyString = annotations.takesAnyString;
    type.isRawIfTooBig = annotations.isRawIfTooBig;
    type.isArray = annotations.isArray;
    type.below = annotations.below;
}

void Resolver::defineShape(Type& type, const TypeNode& node, const Place& place, const AnnotationSet& annotations) {
    type.use.span = node.span;
    if (annotations.isOpen) {
        type.use = openUse(node);
        return;
    }
    switch (node.syntax) {
        case TypeSyntax::Sequence:
        case TypeSyntax::Set:
        case TypeSyntax::Choice:
            type.use.kind = node.syntax == TypeSyntax::Sequence ? Kind::Sequence
                            : node.syntax == TypeSyntax::Set    ? Kind::Set
                                                                : Kind::Choice;
            defineMembers(type, node, place);
            break;
        case TypeSyntax::SequenceOf:
        case TypeSyntax::SetOf:
            type.use.kind = node.syntax == TypeSyntax::SequenceOf ? Kind::SequenceOf : Kind::SetOf;
            type.element = resolveUse(*node.element, {place.module, place.path + "_element", place.depth + 1}, {});
            break;
        default:
            type.use = plainUse(node, place);
            defineNumbers(type, node);
    }
}

void Resolver::defineMembers(Type& type, const TypeNode& node, const Place& place) {
    type.isExtensible = node.isExtensible;
    for (const ComponentNode& component : node.components) {
        type.members.push_back(makeMember(component, place));
    }
    if (scope_.moduleOf(node.span).hasAutomaticTags) {
        tagAutomatically(type, node);
    }
}

Member Resolver::makeMember(const ComponentNode& node, const Place& place) {
    const AnnotationSet annotations = readAnnotations(node.annotations, AnnotationPlace::Member, diagnostics_);
    Member member;
    member.name = node.name;
    member.cppName = annotations.name.empty() ? cppIdentifier(node.name.text) : annotations.name;
    member.span = node.span;
    member.presence = node.presence;
    member.part = node.part;
    member.defaultValue = node.defaultValue;
    const std::string path = place.path + "_" + std::string(node.name.text);
    member.use = resolveUse(*node.type, {place.module, path, place.depth + 1}, annotations);
    return member;
}

// AUTOMATIC TAGS number the members from 0, unless one of them has a tag: those of both roots, then the additions
// (X.680, clause 25).
void Resolver::tagAutomatically(Type& type, const TypeNode& node) {
    std::uint32_t number = 0;
    for (const ComponentNode& component : node.components) {
        if (component.isComponentsOf) {
            diagnostics_.error(component.span, "COMPONENTS OF is not carried under automatic tags");
        }
        if (!component.type->tags.empty()) {
            return;
        }
    }
    for (const bool isForAdditions : {false, true}) {
        for (Member& member : type.members) {
            if ((member.part == MemberPart::Additions) == isForAdditions) {
                const Tag tag = {TagClass::Context, number++, false, false, member.span};
                member.use.tags.insert(member.use.tags.begin(), tag);
            }
        }
    }
}

void Resolver::defineNumbers(Type& type, const TypeNode& node) {
    std::int64_t following = 0;
    for (const NamedNumberNode& number : node.named) {
        const std::optional<std::int64_t> value = number.value ? values_.integer(*number.value) : following;
        if (value) {
            type.named.push_back({number.name, *value});
            following = *value < std::numeric_limits<std::int64_t>::max() ? *value + 1 : *value;
        }
        if (!number.value && node.builtin != "ENUMERATED") {
            diagnostics_.error(number.name.span, "a number in brackets expected behind " + quoted(number.name.text));
        }
    }
    type.isExtensible = node.isExtensible;
}

// Resolves a type where it is used: inline, by name, or lifted and then by name.
Use Resolver::resolveUse(const TypeNode& node, const Place& place, const AnnotationSet& annotations) {
    Use use;
    if (annotations.isOpen) {
        use = openUse(node);
    } else if (node.hasActuals) {
        if (const TypeNode* const body = expand(node, place)) {
            use = resolveUse(*body, {place.module, place.path, place.depth + 1}, annotations);
        }
        applyConstraints(node, use, nullptr);
    } else if (isStructured(node)) {
        use = liftedUse(node, place, annotations);
        use.span = node.span;
        addTags(node, use);
        return use;
    } else {
        use = plainUse(node, place);
        applyConstraints(node, use, nullptr);
        use.isBig = annotations.isBig;
        if (annotations.isBig && use.kind != Kind::Integer && use.kind != Kind::Unresolved) {
            diagnostics_.error(annotations.span, "only an INTEGER can be big; a named one where it is defined");
        }
        if (annotations.isArray) {
            diagnostics_.error(annotations.span,
                               "only a SEQUENCE OF or SET OF can be an array; a named one where it "
                               "is defined");
        }
    }
    use.span = node.span;
    addTags(node, use);
    return use;
}

Use Resolver::liftedUse(const TypeNode& node, const Place& place, const AnnotationSet& annotations) {
    Use use;
    use.kind = Kind::Named;
    const bool isList = node.syntax == TypeSyntax::SequenceOf || node.syntax == TypeSyntax::SetOf;
    if (isList && !annotations.isArray && !hasBounds(node)) {
        Use element = resolveUse(*node.element, {place.module, place.path + "_element", place.depth + 1}, {});
        const bool isPlain = element.kind == Kind::Named && element.tags.empty() && !element.size && !element.range;
        if (isPlain) {
            use.type = &sharedList(*element.type, node.syntax == TypeSyntax::SetOf, node.span);
            return use;
        }
        Type& list = newType(*place.module, place.path, cppIdentifier(place.path), node.span, true);
        list.use.span = node.span;
        list.use.kind = node.syntax == TypeSyntax::SequenceOf ? Kind::SequenceOf : Kind::SetOf;
        list.element = std::move(element);
        place.module->types.push_back(&list);
        use.type = &list;
        return use;
    }
    Type& type = newType(*place.module, place.path, cppIdentifier(place.path), node.span, true);
    defineShape(type, node, place, {});
    applyConstraints(node, type.use, &type.named);
    type.isArray = annotations.isArray;
    type.use.isBig = annotations.isBig;
    if (annotations.isArray && !isList) {
        diagnostics_.error(annotations.span, "only a SEQUENCE OF or SET OF can be an array");
    }
    if (annotations.isBig && type.use.kind != Kind::Integer) {
        diagnostics_.error(annotations.span, "only an INTEGER can be big");
    }
    place.module->types.push_back(&type);
    use.type = &type;
    return use;
}

Type& Resolver::sharedList(Type& element, bool isSet, Span span) {
    Type*& list = (isSet ? setLists_ : sequenceLists_)[&element];
    if (list == nullptr) {
        const std::string prefix = isSet ? "_SetOf" : "_SeqOf";
        list = &newType(*element.module, prefix + element.name, prefix + element.cppName, span, true);
        list->use.span = span;
        list->use.kind = isSet ? Kind::SetOf : Kind::SequenceOf;
        Use use;
        use.span = span;
        use.kind = Kind::Named;
        use.type = &element;
        list->element = use;
    }
    return *list;
}

// A type kept raw. Its name is still resolved, since its tag identifies an optional value.
Use Resolver::openUse(const TypeNode& node) {
    Use use;
    use.span = node.span;
    use.kind = Kind::Open;
    if (node.syntax == TypeSyntax::Reference && !node.hasActuals) {
        const Use named = referenceUse(node);
        use.type = named.type;
    }
    return use;
}

Use Resolver::plainUse(const TypeNode& node, const Place& place) {
    Use use;
    use.span = node.span;
    if (node.syntax == TypeSyntax::Reference) {
        return referenceUse(node);
    }
    if (node.syntax == TypeSyntax::ClassField) {
        return fieldUse(node, place);
    }
    for (const BuiltinKind& builtin : kBuiltinKinds) {
        if (builtin.name == node.builtin) {
            use.kind = builtin.kind;
            return use;
        }
    }
    diagnostics_.error(node.span, std::string(node.builtin) + " is not carried");
    return use;
}

Use Resolver::referenceUse(const TypeNode& node) {
    Use use;
    use.span = node.span;
    const AssignmentNode* const found =
        node.module.text.empty() ? scope_.find(node.name) : scope_.findIn(node.module, node.name);
    if (found == nullptr) {
        return use;
    }
    if (const auto type = types_.find(found); type != types_.end()) {
        use.kind = Kind::Named;
        use.type = type->second;
    } else {
        diagnostics_.error(node.name.span, quoted(node.name.text) + (found->hasParameters && found->type != nullptr
                                                                         ? " needs parameters here"
                                                                         : " is not a type"));
    }
    return use;
}

// "CLASS.&Type" is an open type; a value field has its own type.
Use Resolver::fieldUse(const TypeNode& node, const Place& place) {
    Use use;
    use.span = node.span;
    const Class* const objectClass = findClass(node.name, false);
    if (objectClass == nullptr) {
        return use;
    }
    for (const FieldNode& field : objectClass->node->fields) {
        if (field.name.text != node.field.text) {
            continue;
        }
        if (field.isType) {
            use.kind = Kind::Open;
            use.table = TableUse{{}, {}, objectClass, nullptr};
            return use;
        }
        if (place.depth >= kMaxDepth) {
            diagnostics_.error(node.span, "this field is defined by itself");
            return use;
        }
        return resolveUse(*field.type, {place.module, place.path, place.depth + 1}, {});
    }
    diagnostics_.error(node.field.span, quoted(node.name.text) + " has no field " + quoted(node.field.text));
    return use;
}

// Replaces the parameters in the tokens of a parameterized type and parses the result.
const TypeNode* Resolver::expand(const TypeNode& node, const Place& place) {
    const AssignmentNode* const found = scope_.find(node.name);
    if (found == nullptr) {
        return nullptr;
    }
    if (!found->hasParameters || found->kind != AssignmentNode::Kind::Type) {
        diagnostics_.error(node.name.span, quoted(node.name.text) + " is not a type with parameters");
        return nullptr;
    }
    const std::vector<TokenRange> actuals = splitActuals(node.actuals);
    if (actuals.size() != found->parameters.size()) {
        diagnostics_.error(node.name.span, quoted(node.name.text) + " takes " +
                                               std::to_string(found->parameters.size()) + " parameters, not " +
                                               std::to_string(actuals.size()));
        return nullptr;
    }
    std::vector<Token> tokens;
    for (const Token* at = found->body.begin; at != found->body.end; ++at) {
        const auto parameter = std::find_if(found->parameters.begin(), found->parameters.end(),
                                            [at](const Name& name) { return name.text == at->text; });
        if (parameter == found->parameters.end()) {
            tokens.push_back(*at);
        } else {
            const TokenRange& actual = actuals[static_cast<std::size_t>(parameter - found->parameters.begin())];
            tokens.insert(tokens.end(), actual.begin, actual.end);
        }
        if (tokens.size() > kMaxExpandedTokens) {
            break;
        }
    }
    numExpandedTokens_ += tokens.size();
    if (numExpandedTokens_ > kMaxExpandedTokens || place.depth >= kMaxDepth) {
        diagnostics_.error(node.name.span, "parameters expand without end");
        numExpandedTokens_ = kMaxExpandedTokens;  // other paths around the cycle find nothing new
        return nullptr;
    }
    expandedTokens_.push_back(std::move(tokens));
    const std::vector<Token>& kept = expandedTokens_.back();
    try {
        Parser parser({kept.data(), kept.data() + kept.size()}, diagnostics_);
        expandedNodes_.push_back(parser.parseType());
        if (!parser.isAtEnd()) {
            parser.fail("this does not belong to the type");
        }
    } catch (const SyntaxFailure&) {
        return nullptr;
    }
    return expandedNodes_.back().get();
}

std::vector<TokenRange> Resolver::splitActuals(const TokenRange& range) const {
    std::vector<TokenRange> actuals;
    const Token* begin = range.begin;
    std::size_t depth = 0;
    for (const Token* at = range.begin; at != range.end; ++at) {
        if (at->is("{") || at->is("(")) {
            ++depth;
        } else if ((at->is("}") || at->is(")")) && depth > 0) {
            --depth;
        } else if (at->is(",") && depth == 0) {
            actuals.push_back({begin, at});
            begin = at + 1;
        }
    }
    actuals.push_back({begin, range.end});
    return actuals;
}

void Resolver::addTags(const TypeNode& node, Use& use) {
    std::vector<Tag> tags;
    for (const TagNode& tagNode : node.tags) {
        Tag tag;
        tag.span = tagNode.span;
        tag.tagClass = tagNode.tagClass;
        tag.isWritten = tagNode.mode != TagMode::Default;
        const TagMode mode = tag.isWritten ? tagNode.mode : scope_.moduleOf(tagNode.span).tagDefault;
        tag.isExplicit = mode == TagMode::Explicit;
        const std::optional<std::int64_t> number = values_.integer(tagNode.number);
        if (number && (*number < 0 || *number > 0x1FFFFFFF)) {
            diagnostics_.error(tagNode.span, "a tag number is from 0 to 536870911");
        } else if (number) {
            tag.number = static_cast<std::uint32_t>(*number);
        }
        tags.push_back(tag);
    }
    use.tags.insert(use.tags.begin(), tags.begin(), tags.end());
}

}  // namespace schemac
