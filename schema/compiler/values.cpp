// Integers and object identifier values.
#include "schema/compiler/values.h"

#include <charconv>
#include <limits>
#include <string>
#include <utility>

#include "schema/compiler/parser.h"

namespace schemac {
namespace {

// Arcs that may be written by name only, by the arcs before them.
struct KnownArc {
    std::string_view name;
    std::size_t depth;
    std::uint32_t number;
};
constexpr KnownArc kKnownArcs[] = {{"itu-t", 0, 0},
                                   {"ccitt", 0, 0},
                                   {"iso", 0, 1},
                                   {"joint-iso-itu-t", 0, 2},
                                   {"standard", 1, 0},
                                   {"member-body", 1, 2},
                                   {"identified-organization", 1, 3}};

}  // namespace

std::optional<std::int64_t> Values::integer(const ValueNode& value) {
    return integer(value, 0);
}

std::optional<std::int64_t> Values::integer(const ValueNode& value, int depth) {
    if (value.kind == ValueNode::Kind::Number) {
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(value.text.data(), value.text.data() + value.text.size(), number);
        if (error != std::errc()) {
            diagnostics_.error(value.span, "this number is too large");
            return std::nullopt;
        }
        return value.isNegative ? -number : number;
    }
    if (value.kind != ValueNode::Kind::Reference) {
        diagnostics_.error(value.span, "a whole number expected");
        return std::nullopt;
    }
    const AssignmentNode* const found = scope_.find(value.name);
    if (found == nullptr) {
        return std::nullopt;
    }
    if (found->kind != AssignmentNode::Kind::Value || depth >= kMaxDepth) {
        diagnostics_.error(value.span, depth >= kMaxDepth ? "this number is defined by itself" : "not a number");
        return std::nullopt;
    }
    return integer(found->value, depth + 1);
}

std::optional<Arcs> Values::objectId(const ValueNode& value) {
    return objectId(value, 0);
}

std::optional<Arcs> Values::objectId(const ValueNode& value, int depth) {
    if (value.kind == ValueNode::Kind::Reference) {
        return ofAssignment(value.name, depth);
    }
    if (value.kind != ValueNode::Kind::Braced) {
        diagnostics_.error(value.span, "an object identifier expected");
        return std::nullopt;
    }
    Arcs arcs;
    for (const Token* at = value.inside.begin; at != value.inside.end;) {
        if (!appendComponent(arcs, value.inside, at, depth)) {
            return std::nullopt;
        }
        if (arcs.size() > kMaxArcs) {
            diagnostics_.error(value.span, "more than " + std::to_string(kMaxArcs) + " arcs");
            return std::nullopt;
        }
    }
    return arcs;
}

// "5", "name(5)", "name(other)", or a name alone: another identifier at the start, or one of the known arcs.
bool Values::appendComponent(Arcs& arcs, const TokenRange& range, const Token*& at, int depth) {
    const Token& token = *at++;
    ValueNode number;
    number.kind = ValueNode::Kind::Number;
    number.span = token.span;
    number.text = token.text;
    if (token.kind == TokenKind::Number) {
        return appendNumber(arcs, number, depth);
    }
    if (token.kind != TokenKind::Word) {
        diagnostics_.error(token.span, "a number or a name expected");
        return false;
    }
    if (at == range.end || !at->is("(")) {
        return appendWord(arcs, token, depth);
    }
    const bool isComplete =
        range.end - at >= 3 && at[2].is(")") && (at[1].kind == TokenKind::Number || at[1].kind == TokenKind::Word);
    if (!isComplete) {
        diagnostics_.error(at->span, "a number in brackets expected");
        return false;
    }
    number.text = at[1].text;
    number.span = at[1].span;
    if (at[1].kind == TokenKind::Word) {
        number.kind = ValueNode::Kind::Reference;
        number.name = {at[1].text, at[1].span};
    }
    at += 3;
    return appendNumber(arcs, number, depth);
}

bool Values::appendNumber(Arcs& arcs, const ValueNode& number, int depth) {
    const std::optional<std::int64_t> value = integer(number, depth);
    if (!value) {
        return false;
    }
    if (*value < 0 || *value > std::numeric_limits<std::uint32_t>::max()) {
        diagnostics_.error(number.span, "an arc is a number from 0 to 4294967295");
        return false;
    }
    arcs.push_back(static_cast<std::uint32_t>(*value));
    return true;
}

bool Values::appendWord(Arcs& arcs, const Token& word, int depth) {
    const Name name{word.text, word.span};
    if (scope_.findQuietly(name) == nullptr) {
        for (const KnownArc& known : kKnownArcs) {
            if (known.name == word.text && known.depth == arcs.size() && (known.depth == 0 || arcs[0] == 1)) {
                arcs.push_back(known.number);
                return true;
            }
        }
    } else if (!arcs.empty()) {
        ValueNode number;
        number.kind = ValueNode::Kind::Reference;
        number.span = word.span;
        number.name = name;
        return appendNumber(arcs, number, depth);
    }
    const std::optional<Arcs> prefix = ofAssignment(name, depth);
    if (prefix) {
        arcs = *prefix;
    }
    return prefix.has_value();
}

std::optional<Arcs> Values::ofAssignment(const Name& name, int depth) {
    const AssignmentNode* const found = scope_.find(name);
    if (found == nullptr) {
        return std::nullopt;
    }
    if (found->kind != AssignmentNode::Kind::Value || depth >= kMaxDepth) {
        diagnostics_.error(name.span,
                           depth >= kMaxDepth ? "this identifier is defined by itself" : "not an object identifier");
        return std::nullopt;
    }
    const auto known = known_.find(found);
    if (known != known_.end()) {
        return known->second;
    }
    std::optional<Arcs> arcs = objectId(found->value, depth + 1);
    known_.emplace(found, arcs);
    return arcs;
}

}  // namespace schemac
