// Types, values and constraints.
#include "schema/compiler/parser.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace schemac {
namespace {

// Types named by a single word.
constexpr std::string_view kOneWordTypes[] = {"BOOLEAN",         "INTEGER",         "NULL",           "REAL",
                                              "EXTERNAL",        "RELATIVE-OID",    "NumericString",  "TeletexString",
                                              "PrintableString", "VisibleString",   "IA5String",      "UTF8String",
                                              "UniversalString", "BMPString",       "GeneralString",  "GraphicString",
                                              "T61String",       "ISO646String",    "VideotexString", "UTCTime",
                                              "GeneralizedTime", "ObjectDescriptor"};

constexpr std::string_view kTwoWordTypes[][2] = {
    {"OBJECT", "IDENTIFIER"}, {"OCTET", "STRING"}, {"BIT", "STRING"}, {"EMBEDDED", "PDV"}, {"CHARACTER", "STRING"}};

constexpr std::string_view kTwoWordNames[] = {"OBJECT IDENTIFIER", "OCTET STRING", "BIT STRING", "EMBEDDED PDV",
                                              "CHARACTER STRING"};

std::string describe(const Token& token) {
    return token.kind == TokenKind::End ? "the end" : "'" + std::string(token.text) + "'";
}

}  // namespace

Parser::Depth::Depth(Parser& parser) : depth_(parser.depth_) {
    if (depth_ >= kMaxDepth) {
        parser.fail("nested more than " + std::to_string(kMaxDepth) + " levels deep");
    }
    ++depth_;
}

Annotations takeAnnotations(const Token& token) {
    for (Annotation* annotation : token.annotations) {
        annotation->isUsed = true;
    }
    return token.annotations;
}

Parser::Parser(TokenRange range, Diagnostics& diagnostics)
    : range_(range), at_(range.begin), diagnostics_(diagnostics) {
    if (range.begin != range.end) {
        const Span last = std::prev(range.end)->span;
        end_.span = {last.file, last.end, last.end};
    }
}

const Token& Parser::peek(std::size_t ahead) const {
    return static_cast<std::size_t>(range_.end - at_) > ahead ? at_[ahead] : end_;
}

const Token& Parser::next() {
    const Token& token = peek();
    if (at_ != range_.end) {
        ++at_;
    }
    return token;
}

bool Parser::accept(std::string_view symbol) {
    if (!peek().is(symbol)) {
        return false;
    }
    ++at_;
    return true;
}

const Token& Parser::expect(std::string_view symbol) {
    if (!peek().is(symbol)) {
        fail("'" + std::string(symbol) + "' expected, but here is " + describe(peek()));
    }
    return next();
}

Name Parser::expectName(TokenKind kind, const char* what) {
    if (peek().kind != kind) {
        fail(std::string(what) + " expected, but here is " + describe(peek()));
    }
    const Token& token = next();
    return {token.text, token.span};
}

void Parser::fail(const std::string& text) {
    diagnostics_.error(peek().span, text);
    throw SyntaxFailure{};
}

TokenRange Parser::takeBraced() {
    const Token& open = expect("{");
    const Token* begin = at_;
    for (std::size_t depth = 1; at_ != range_.end; ++at_) {
        if (at_->is("{")) {
            ++depth;
        } else if (at_->is("}") && --depth == 0) {
            return {begin, at_++};
        }
    }
    diagnostics_.error(open.span, "this brace is never closed");
    throw SyntaxFailure{};
}

std::unique_ptr<TypeNode> Parser::parseType() {
    const Depth depth(*this);
    auto type = std::make_unique<TypeNode>();
    const Span begin = peek().span;
    parseTags(*type);
    if (!parseConstructed(*type) && !parseBuiltin(*type)) {
        parseReference(*type);
    }
    parseConstraints(*type);
    type->span = join(begin, at_ == range_.begin ? begin : std::prev(at_)->span);
    return type;
}

void Parser::parseTags(TypeNode& type) {
    while (peek().is("[")) {
        if (type.tags.size() >= static_cast<std::size_t>(kMaxDepth)) {
            fail("too many tags");
        }
        TagNode tag;
        tag.span = next().span;
        if (accept("UNIVERSAL")) {
            tag.tagClass = TagClass::Universal;
        } else if (accept("APPLICATION")) {
            tag.tagClass = TagClass::Application;
        } else if (accept("PRIVATE")) {
            tag.tagClass = TagClass::Private;
        }
        tag.number = parseValue();
        tag.span = join(tag.span, expect("]").span);
        if (accept("IMPLICIT")) {
            tag.mode = TagMode::Implicit;
        } else if (accept("EXPLICIT")) {
            tag.mode = TagMode::Explicit;
        }
        type.tags.push_back(tag);
    }
}

bool Parser::parseConstructed(TypeNode& type) {
    if (accept("SEQUENCE")) {
        parseListOrComponents(type, false);
    } else if (accept("SET")) {
        parseListOrComponents(type, true);
    } else if (accept("CHOICE")) {
        type.syntax = TypeSyntax::Choice;
        parseComponents(type, true);
    } else if (accept("INSTANCE")) {
        expect("OF");
        parseInstanceOf(type);
    } else {
        return false;
    }
    return true;
}

// A use of the built-in parameterized type, with the class as its parameter.
void Parser::parseInstanceOf(TypeNode& type) {
    type.syntax = TypeSyntax::Reference;
    type.hasActuals = true;
    type.actuals.begin = position();
    type.name = {"INSTANCE-OF", expectName(TokenKind::TypeWord, "the name of a class").span};
    type.actuals.end = position();
}

void Parser::parseListOrComponents(TypeNode& type, bool isSet) {
    if (peek().is("{")) {
        type.syntax = isSet ? TypeSyntax::Set : TypeSyntax::Sequence;
        parseComponents(type, false);
        return;
    }
    type.syntax = isSet ? TypeSyntax::SetOf : TypeSyntax::SequenceOf;
    if (peek().is("SIZE")) {
        parseConstraintElement(type.constraints);
    } else if (peek().is("(")) {
        parseConstraint(type);
    }
    expect("OF");
    if (peek().kind == TokenKind::Word) {
        next();  // the name of an element has no effect
    }
    type.element = parseType();
}

bool Parser::parseBuiltin(TypeNode& type) {
    if (accept("ENUMERATED")) {
        type.builtin = "ENUMERATED";
        parseNamedNumbers(type);
        return true;
    }
    if (accept("ANY")) {
        type.builtin = "ANY";
        if (accept("DEFINED")) {
            expect("BY");
            expectName(TokenKind::Word, "the name of a member");
        }
        return true;
    }
    for (std::size_t i = 0; i < std::size(kTwoWordTypes); ++i) {
        if (peek().is(kTwoWordTypes[i][0]) && peek(1).is(kTwoWordTypes[i][1])) {
            next();
            next();
            type.builtin = kTwoWordNames[i];
            if (type.builtin == "BIT STRING" && peek().is("{")) {
                parseNamedNumbers(type);
            }
            return true;
        }
    }
    const auto* const found = std::find_if(std::begin(kOneWordTypes), std::end(kOneWordTypes),
                                           [this](std::string_view word) { return peek().is(word); });
    if (found == std::end(kOneWordTypes)) {
        return false;
    }
    next();
    type.builtin = *found;
    if (type.builtin == "INTEGER" && peek().is("{")) {
        parseNamedNumbers(type);
    }
    return true;
}

void Parser::parseReference(TypeNode& type) {
    type.syntax = TypeSyntax::Reference;
    type.name = expectName(TokenKind::TypeWord, "a type");
    if (peek().is(".") && peek(1).kind == TokenKind::TypeWord) {
        next();
        type.module = std::exchange(type.name, expectName(TokenKind::TypeWord, "a type"));
    }
    if (peek().is(".") && (peek(1).kind == TokenKind::TypeField || peek(1).kind == TokenKind::ValueField)) {
        type.syntax = TypeSyntax::ClassField;
        while (accept(".")) {
            const Token& field = next();
            if (field.kind != TokenKind::TypeField && field.kind != TokenKind::ValueField) {
                fail("the name of a field expected");
            }
            type.field = {field.text, field.span};
        }
        return;
    }
    if (peek().is("{")) {
        type.hasActuals = true;
        type.actuals = takeBraced();
    }
}

void Parser::parseNamedNumbers(TypeNode& type) {
    expect("{");
    while (!peek().is("}")) {
        if (accept("...")) {
            type.isExtensible = true;
        } else {
            NamedNumberNode number;
            number.name = expectName(TokenKind::Word, "a name");
            if (accept("(")) {
                number.value = parseValue();
                expect(")");
            }
            type.named.push_back(number);
        }
        if (!accept(",")) {
            break;
        }
    }
    expect("}");
}

void Parser::parseComponents(TypeNode& type, bool isChoice) {
    expect("{");
    MemberPart part = MemberPart::FirstRoot;
    while (!peek().is("}")) {
        if (peek().is("...")) {
            parseExtensionMarker(type, part);
        } else if (peek().is("[") && peek(1).is("[")) {
            fail("version brackets are not carried");
        } else {
            type.components.push_back(parseComponent(isChoice));
            type.components.back().part = part;
        }
        if (!accept(",")) {
            break;
        }
    }
    expect("}");
}

// The first marker starts the additions, the second one ends them.
void Parser::parseExtensionMarker(TypeNode& type, MemberPart& part) {
    if (part == MemberPart::SecondRoot) {
        fail("a third extension marker");
    }
    next();
    part = part == MemberPart::FirstRoot ? MemberPart::Additions : MemberPart::SecondRoot;
    type.isExtensible = true;
    if (accept("!")) {
        parseValue();  // the exception identifier does not affect the encoding
    }
}

ComponentNode Parser::parseComponent(bool isChoice) {
    ComponentNode component;
    component.annotations = takeAnnotations(peek());
    const Span begin = peek().span;
    if (!isChoice && accept("COMPONENTS")) {
        expect("OF");
        component.isComponentsOf = true;
        component.type = parseType();
        component.span = join(begin, component.type->span);
        component.name = {std::string_view(), begin};
        return component;
    }
    component.name = expectName(TokenKind::Word, "the name of a member");
    component.type = parseType();
    if (!isChoice && accept("OPTIONAL")) {
        component.presence = Presence::Optional;
    } else if (!isChoice && accept("DEFAULT")) {
        component.presence = Presence::Default;
        component.defaultValue = parseValue();
    }
    component.span = join(begin, std::prev(at_)->span);
    return component;
}

ValueNode Parser::parseValue() {
    while (peek().kind == TokenKind::Word && peek(1).is(":")) {
        next();  // "alternative : value"; only the value is relevant
        next();
    }
    ValueNode value;
    const Token& token = peek();
    value.span = token.span;
    value.text = token.text;
    if (token.is("{")) {
        value.kind = ValueNode::Kind::Braced;
        value.inside = takeBraced();
        value.span = join(value.span, value.inside.end->span);
        return value;
    }
    if (accept("-")) {
        value.isNegative = true;
    }
    switch (peek().kind) {
        case TokenKind::Number:
            value.kind = ValueNode::Kind::Number;
            value.text = peek().text;
            break;
        case TokenKind::Text:
        case TokenKind::Bits:
            value.kind = ValueNode::Kind::Text;
            break;
        case TokenKind::Word:
            value.kind = ValueNode::Kind::Reference;
            value.name = {peek().text, peek().span};
            break;
        default:
            value.kind = peek().is("NULL") ? ValueNode::Kind::Null : ValueNode::Kind::Boolean;
            if (!peek().is("NULL") && !peek().is("TRUE") && !peek().is("FALSE")) {
                fail("a value expected, but here is " + describe(peek()));
            }
    }
    if (value.isNegative && value.kind != ValueNode::Kind::Number) {
        fail("a number expected behind the minus sign");
    }
    value.span = join(value.span, next().span);
    return value;
}

void Parser::parseConstraints(TypeNode& type) {
    while (peek().is("(")) {
        parseConstraint(type);
    }
}

void Parser::parseConstraint(TypeNode& type) {
    expect("(");
    do {
        parseConstraintElement(type.constraints);
    } while (accept("^") || accept("INTERSECTION"));
    expect(")");
}

void Parser::parseConstraintElement(std::vector<ConstraintNode>& constraints) {
    const Depth depth(*this);
    ConstraintNode constraint;
    const Span begin = peek().span;
    const Token* const start = at_;
    if (peek().is("{")) {
        parseTable(constraint);
    } else if (accept("SIZE")) {
        constraint.kind = ConstraintNode::Kind::Size;
        expect("(");
        if (!parseRanges(constraint)) {
            fail("a size expected");
        }
        expect(")");
    } else if (accept("CONTAINING")) {
        constraint.kind = ConstraintNode::Kind::Containing;
        constraint.containing = parseType();
        if (accept("ENCODED")) {
            expect("BY");
            parseValue();
        }
    } else {
        constraint.kind = ConstraintNode::Kind::Range;
        if (!parseRanges(constraint)) {
            at_ = start;
            skipUncarried(constraint);
        }
    }
    constraint.span = join(begin, at_ == start ? begin : std::prev(at_)->span);
    constraints.push_back(std::move(constraint));
}

// One side of a range. `open` is the keyword for "no bound".
bool Parser::parseBound(std::optional<ValueNode>& bound, std::string_view open) {
    if (accept(open)) {
        return true;
    }
    const bool isValue = peek().kind == TokenKind::Number || peek().kind == TokenKind::Word || peek().is("-");
    if (isValue) {
        bound = parseValue();
    }
    return isValue;
}

// Values and ranges separated by bars. Returns false for anything else.
bool Parser::parseRanges(ConstraintNode& constraint) {
    do {
        RangeNode range;
        if (!parseBound(range.low, "MIN")) {
            return false;
        }
        range.high = range.low;
        if (peek().is("..")) {
            next();
            range.high.reset();
            if (!parseBound(range.high, "MAX")) {
                return false;
            }
        }
        constraint.ranges.push_back(range);
    } while (accept("|") || accept("UNION"));
    if (accept(",")) {
        expect("...");
        constraint.isExtensible = true;
    }
    return peek().is(")") || peek().is("^") || peek().is("INTERSECTION");
}

void Parser::parseTable(ConstraintNode& constraint) {
    constraint.kind = ConstraintNode::Kind::Table;
    constraint.set = takeBraced();
    if (!accept("{")) {
        return;
    }
    expect("@");
    do {
        accept(".");
        constraint.key.push_back(expectName(TokenKind::Word, "the name of a member"));
    } while (peek().is("."));
    expect("}");
}

// Skips a constraint without a check in the generated code, up to its closing bracket.
void Parser::skipUncarried(ConstraintNode& constraint) {
    constraint.kind = ConstraintNode::Kind::Uncarried;
    constraint.ranges.clear();
    std::size_t depth = 0;
    for (; at_ != range_.end; ++at_) {
        if (at_->is("(") || at_->is("{")) {
            ++depth;
        } else if (at_->is(")") || at_->is("}")) {
            if (depth == 0) {
                return;
            }
            --depth;
        }
    }
    fail("this constraint is never closed");
}

}  // namespace schemac
