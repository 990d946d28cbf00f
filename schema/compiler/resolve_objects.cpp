// Object classes, objects and object sets.
#include <algorithm>
#include <utility>

#include "schema/compiler/queries.h"
#include "schema/compiler/resolver.h"

namespace schemac {

namespace {

// Limits the expansion of sets that include each other. Far above any real schema.
constexpr std::size_t kMaxSetSteps = 1u << 16;

// The brace that closes the one at `open`. The parser has matched all braces before `end`.
const Token* endOfBraces(const Token* open, const Token* end) {
    std::size_t depth = 0;
    const Token* at = open;
    for (; at + 1 != end; ++at) {
        depth += at->is("{") ? 1 : 0;
        depth -= at->is("}") ? 1 : 0;
        if (depth == 0) {
            break;
        }
    }
    return at;
}

}  // namespace

// The relevant fields of an object. Other fields are parsed and ignored.
struct Resolver::ObjectFields {
    std::optional<ValueNode> key;
    std::unique_ptr<TypeNode> value;
};

// The class with this name or alias. If `isQuiet`, returns null without a report when it is not a class.
const Class* Resolver::findClass(const Name& name, bool isQuiet) {
    const AssignmentNode* found = isQuiet ? scope_.findQuietly(name) : scope_.find(name);
    const AssignmentNode* alias = nullptr;
    const bool isKnown = !scope_.leadsNowhere(name);
    for (int hops = 0; found != nullptr && hops < kMaxDepth; ++hops) {
        if (found->kind == AssignmentNode::Kind::Class) {
            return classOf(*found, alias);
        }
        const bool isAlias = found->kind == AssignmentNode::Kind::Type && !found->hasParameters &&
                             found->type->syntax == TypeSyntax::Reference && found->type->tags.empty();
        alias = found;
        found = isAlias ? scope_.findQuietly(found->type->name) : nullptr;
    }
    if (!isQuiet && isKnown) {
        diagnostics_.error(name.span, quoted(name.text) + " is not a class");
    }
    return nullptr;
}

// A built-in class becomes a class under the first name that a module gives it. All other aliases generate nothing.
const Class* Resolver::classOf(const AssignmentNode& node, const AssignmentNode* alias) {
    const bool isBuiltin = scope_.moduleOf(node.name.span).isBuiltin;
    const AssignmentNode& owner = isBuiltin && alias != nullptr ? *alias : node;
    if (!node.hasParameters && classes_.find(&owner) == classes_.end()) {
        makeClass(owner, *node.objectClass);
    }
    const auto known = classes_.find(&owner);
    return known == classes_.end() ? nullptr : known->second;
}

void Resolver::defineClass(Class& objectClass) {
    for (const FieldNode& field : objectClass.node->fields) {
        const std::string name(field.name.text.substr(1));
        if (field.isUnique && field.type != nullptr && field.type->builtin == "OBJECT IDENTIFIER") {
            objectClass.keyField = name;
        } else if (field.isType && objectClass.typeField.empty()) {
            objectClass.typeField = name;
        }
    }
}

// Parses an object by the syntax of its class. A group whose first word is missing is absent.
bool Resolver::readSyntax(Parser& parser, const std::vector<SyntaxNode>& syntax, const Class& objectClass,
                          ObjectFields& fields) {
    for (const SyntaxNode& node : syntax) {
        switch (node.kind) {
            case SyntaxNode::Kind::Literal:
                parser.expect(node.word.text);
                break;
            case SyntaxNode::Kind::Field:
                if (!readField(parser, node.word, objectClass, fields)) {
                    return false;
                }
                break;
            case SyntaxNode::Kind::Group: {
                const bool isWordFirst = !node.inside.empty() && node.inside.front().kind == SyntaxNode::Kind::Literal;
                const bool isPresent =
                    isWordFirst ? parser.peek().is(node.inside.front().word.text) : !parser.isAtEnd();
                if (isPresent && !readSyntax(parser, node.inside, objectClass, fields)) {
                    return false;
                }
            }
        }
    }
    return true;
}

bool Resolver::readField(Parser& parser, const Name& name, const Class& objectClass, ObjectFields& fields) {
    const auto field = std::find_if(objectClass.node->fields.begin(), objectClass.node->fields.end(),
                                    [&](const FieldNode& one) { return one.name.text == name.text; });
    if (field == objectClass.node->fields.end()) {
        diagnostics_.error(name.span, "the class has no field " + quoted(name.text));
        return false;
    }
    const std::string_view bare = name.text.substr(1);
    if (field->isType) {
        std::unique_ptr<TypeNode> type = parser.parseType();
        if (bare == objectClass.typeField) {
            fields.value = std::move(type);
        }
    } else if (name.text.size() > 1 && bare[0] >= 'A' && bare[0] <= 'Z') {
        // A set field: a braced list or the name of a set.
        if (parser.peek().is("{")) {
            parser.takeBraced();
        } else {
            parser.next();
        }
    } else {
        const ValueNode value = parser.parseValue();
        if (bare == objectClass.keyField) {
            fields.key = value;
        }
    }
    return true;
}

// A class without WITH SYNTAX: "&field value" for each field, in any order.
bool Resolver::readDefaultSyntax(Parser& parser, const Class& objectClass, ObjectFields& fields) {
    while (!parser.isAtEnd()) {
        const Token& field = parser.peek();
        if (field.kind != TokenKind::TypeField && field.kind != TokenKind::ValueField) {
            parser.fail("the name of a field expected");
        }
        parser.next();
        if (!readField(parser, {field.text, field.span}, objectClass, fields)) {
            return false;
        }
        if (!parser.isAtEnd()) {
            parser.expect(",");
        }
    }
    return true;
}

void Resolver::defineObject(Object& object, const AssignmentNode& node) {
    object.objectClass = findClass(node.type->name, true);
    if (object.objectClass == nullptr) {
        return;
    }
    if (node.value.kind != ValueNode::Kind::Braced) {
        diagnostics_.error(node.value.span, "an object in braces expected");
        return;
    }
    ObjectFields fields;
    try {
        Parser parser(node.value.inside, diagnostics_);
        const std::vector<SyntaxNode>& syntax = object.objectClass->node->syntax;
        const bool isRead = syntax.empty() ? readDefaultSyntax(parser, *object.objectClass, fields)
                                           : readSyntax(parser, syntax, *object.objectClass, fields);
        if (!isRead) {
            return;
        }
        if (!parser.isAtEnd()) {
            parser.fail("the syntax of " + quoted(object.objectClass->name.text) + " has no place for this");
        }
    } catch (const SyntaxFailure&) {
        return;
    }
    if (fields.key && !object.key) {
        object.key = values_.objectId(*fields.key);
        object.keyName = cppIdentifier(fields.key->name.text);
    } else if (!object.key) {
        diagnostics_.error(node.name.span, "this object has no key");
    }
    if (fields.value) {
        object.hasValue = true;
        object.value = objectValue(object, *fields.value);
    }
}

// Named types and NULL are used as they are; all other types are lifted.
Use Resolver::objectValue(const Object& object, const TypeNode& node) {
    const bool isPlain = node.tags.empty() && node.constraints.empty();
    const Place place{object.module, "_" + std::string(object.name.text) + "_" + object.objectClass->typeField, 0};
    if (isPlain && !node.hasActuals && (node.syntax == TypeSyntax::Reference || node.builtin == "NULL")) {
        return plainUse(node, place);
    }
    Type& type = newType(*object.module, place.path, cppIdentifier(place.path), node.span, true);
    define(type, node, place, {});
    object.module->types.push_back(&type);
    Use use;
    use.span = node.span;
    use.kind = Kind::Named;
    use.type = &type;
    return use;
}

// "{ a | b, ..., c | OtherSet }": commas and bars are equivalent separators.
void Resolver::defineSet(ObjectSet& set, const AssignmentNode& node, int depth) {
    if (node.value.kind != ValueNode::Kind::Braced) {
        diagnostics_.error(node.value.span, "a set in braces expected");
        return;
    }
    bool isNameExpected = true;
    for (const Token* at = node.value.inside.begin; at != node.value.inside.end; ++at) {
        if (at->is("|") || at->is(",")) {
            isNameExpected = true;
        } else if (at->is("...")) {
            isNameExpected = false;
        } else if (isNameExpected && at->is("{")) {
            diagnostics_.error(at->span, "an object in a set needs a name of its own");
            isNameExpected = false;
            at = endOfBraces(at, node.value.inside.end);
        } else if (!isNameExpected || (at->kind != TokenKind::Word && at->kind != TokenKind::TypeWord)) {
            diagnostics_.error(at->span, "the name of an object expected");
            return;
        } else {
            isNameExpected = false;
            addToSet(set, {at->text, at->span}, depth);
        }
    }
}

void Resolver::addToSet(ObjectSet& set, const Name& name, int depth) {
    const AssignmentNode* const found = scope_.find(name);
    if (found == nullptr || ++numSetSteps_ > kMaxSetSteps) {
        return;
    }
    if (const auto object = objects_.find(found); object != objects_.end()) {
        set.objects.push_back({object->second, name.span});
    } else if (sets_.find(found) == sets_.end()) {
        const bool isReported = found->kind == AssignmentNode::Kind::Value &&
                                found->type->syntax == TypeSyntax::Reference && scope_.leadsNowhere(found->type->name);
        if (isReported) {
            return;
        }
        diagnostics_.error(name.span, quoted(name.text) + " is neither an object nor a set");
    } else if (depth >= kMaxDepth) {
        diagnostics_.error(name.span, "this set contains itself");
        numSetSteps_ = kMaxSetSteps;  // other paths around the cycle find nothing new
    } else {
        defineSet(set, *found, depth + 1);
    }
}

}  // namespace schemac
