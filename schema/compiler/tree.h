// The parser's output: definitions as written, with unresolved names.
//
// Parts that can only be parsed once a name is known (an object follows the syntax of its class, a braced value its
// type) are kept as token ranges and parsed during resolution.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "schema/compiler/lexer.h"
#include "schema/compiler/source.h"

namespace schemac {

using Annotations = std::vector<Annotation*>;

struct Name {
    std::string_view text;
    Span span;
};

struct TokenRange {
    const Token* begin = nullptr;
    const Token* end = nullptr;
};

struct ValueNode {
    enum class Kind { Number, Boolean, Null, Text, Reference, Braced };
    Kind kind = Kind::Null;
    Span span;
    Name name;              // Reference
    std::string_view text;  // Number (digits), Boolean, Text
    bool isNegative = false;
    TokenRange inside;  // Braced: the tokens between the braces
};

struct TypeNode;

struct RangeNode {
    std::optional<ValueNode> low;   // MIN when absent
    std::optional<ValueNode> high;  // MAX when absent
};

struct ConstraintNode {
    enum class Kind { Size, Range, Table, Containing, Uncarried };
    Kind kind = Kind::Uncarried;
    Span span;
    std::vector<RangeNode> ranges;  // Size, Range
    bool isExtensible = false;
    TokenRange set;                        // Table: between the braces
    std::vector<Name> key;                 // Table: the path after @
    std::unique_ptr<TypeNode> containing;  // Containing
};

enum class TagClass { Universal, Application, Context, Private };
enum class TagMode { Default, Implicit, Explicit };

struct TagNode {
    Span span;
    TagClass tagClass = TagClass::Context;
    ValueNode number;
    TagMode mode = TagMode::Default;
};

struct NamedNumberNode {
    Name name;
    std::optional<ValueNode> value;
};

enum class Presence { Required, Optional, Default };

// The part of a type that a member belongs to. Extension markers separate the parts.
enum class MemberPart { FirstRoot, Additions, SecondRoot };

struct ComponentNode {
    Name name;
    Span span;
    Annotations annotations;
    std::unique_ptr<TypeNode> type;
    Presence presence = Presence::Required;
    MemberPart part = MemberPart::FirstRoot;
    ValueNode defaultValue;
    bool isComponentsOf = false;
};

enum class TypeSyntax { Builtin, Reference, ClassField, SequenceOf, SetOf, Sequence, Set, Choice };

struct TypeNode {
    TypeSyntax syntax = TypeSyntax::Builtin;
    Span span;
    std::vector<TagNode> tags;  // outermost first
    std::string_view builtin;   // Builtin: "INTEGER", "OCTET STRING", ...
    Name module;                // Reference with a module prefix; else empty
    Name name;                  // Reference, class of a ClassField
    Name field;                 // ClassField
    bool hasActuals = false;
    TokenRange actuals;  // Reference: between the braces
    std::vector<NamedNumberNode> named;
    std::vector<ComponentNode> components;
    bool isExtensible = false;
    std::unique_ptr<TypeNode> element;  // SequenceOf, SetOf
    std::vector<ConstraintNode> constraints;
};

struct FieldNode {
    Name name;            // with the &
    bool isType = false;  // a type field: &Type without a type after it
    bool isUnique = false;
    std::unique_ptr<TypeNode> type;  // of a value, set or object field
    Presence presence = Presence::Required;
};

struct SyntaxNode {
    enum class Kind { Literal, Field, Group };
    Kind kind = Kind::Literal;
    Name word;                       // Literal, Field
    std::vector<SyntaxNode> inside;  // Group: optional as a whole
};

struct ClassNode {
    std::vector<FieldNode> fields;
    std::vector<SyntaxNode> syntax;  // empty for the default syntax, which names every field
};

struct AssignmentNode {
    enum class Kind { Type, Value, Class, Set };
    Kind kind = Kind::Type;
    Name name;
    Span span;
    Annotations annotations;
    bool hasParameters = false;
    std::vector<Name> parameters;
    TokenRange body;                 // with parameters: the tokens of the type, parsed again for each use
    std::unique_ptr<TypeNode> type;  // Type; the governor of Value and Set
    ValueNode value;                 // Value and Set
    std::unique_ptr<ClassNode> objectClass;
};

struct ImportNode {
    Name symbol;
    Name module;
};

struct ModuleNode {
    Name name;
    std::uint32_t file = 0;
    TagMode tagDefault = TagMode::Explicit;
    bool hasAutomaticTags = false;
    bool isBuiltin = false;  // definitions of ASN.1 itself; visible in every module
    std::vector<ImportNode> imports;
    std::vector<AssignmentNode> assignments;
};

}  // namespace schemac
