// Constraints of a use: sizes, ranges, table constraints and contents.
#include <algorithm>
#include <limits>

#include "schema/compiler/queries.h"
#include "schema/compiler/resolver.h"

namespace schemac {

void Resolver::applyConstraints(const TypeNode& node, Use& use, const std::vector<NamedNumber>* named) {
    for (const ConstraintNode& constraint : node.constraints) {
        switch (constraint.kind) {
            case ConstraintNode::Kind::Size:
                applySize(constraint, use);
                break;
            case ConstraintNode::Kind::Range:
                applyRange(constraint, use, named);
                break;
            case ConstraintNode::Kind::Table:
                applyTable(constraint, use);
                break;
            case ConstraintNode::Kind::Containing:
                applyContaining(constraint, use);
                break;
            case ConstraintNode::Kind::Uncarried:
                break;
        }
    }
}

// Several ranges are treated as one from the smallest to the largest bound.
void Resolver::applySize(const ConstraintNode& constraint, Use& use) {
    if (constraint.isExtensible) {
        return;  // extensible: other sizes must be accepted
    }
    SizeBounds bounds{SizeBounds::kNone, 0, constraint.span};
    for (const RangeNode& range : constraint.ranges) {
        const std::optional<std::int64_t> low = range.low ? values_.integer(*range.low) : 0;
        const std::optional<std::int64_t> high = range.high ? values_.integer(*range.high) : SizeBounds::kNone;
        if (!low || !high) {
            return;
        }
        if (*low < 0 || *high < *low || *high > SizeBounds::kNone || *low >= SizeBounds::kNone) {
            diagnostics_.error(constraint.span, "these sizes are empty or out of range");
            return;
        }
        bounds.low = std::min(bounds.low, static_cast<std::uint32_t>(*low));
        bounds.high = std::max(bounds.high, static_cast<std::uint32_t>(*high));
    }
    use.size = bounds;
}

void Resolver::applyRange(const ConstraintNode& constraint, Use& use, const std::vector<NamedNumber>* named) {
    const Kind kind = underlyingKind(use);
    if (constraint.isExtensible || (kind != Kind::Integer && kind != Kind::Unresolved)) {
        return;  // limits values of other types, which are not checked
    }
    const auto evaluate = [&](const ValueNode& value) -> std::optional<std::int64_t> {
        if (named != nullptr && value.kind == ValueNode::Kind::Reference) {
            for (const NamedNumber& number : *named) {
                if (number.name.text == value.name.text) {
                    return number.value;
                }
            }
        }
        return values_.integer(value);
    };
    ValueBounds bounds;
    bounds.span = constraint.span;
    for (const RangeNode& range : constraint.ranges) {
        const std::optional<std::int64_t> low = range.low ? evaluate(*range.low) : std::nullopt;
        const std::optional<std::int64_t> high = range.high ? evaluate(*range.high) : std::nullopt;
        if (low && high && *high < *low) {
            diagnostics_.error(constraint.span, "this range is empty");
            return;
        }
        const bool isFirst = &range == &constraint.ranges.front();
        bounds.low = isFirst ? low : low && bounds.low ? std::min(low, bounds.low) : std::nullopt;
        bounds.high = isFirst ? high : high && bounds.high ? std::max(high, bounds.high) : std::nullopt;
    }
    use.range = bounds;
}

void Resolver::applyTable(const ConstraintNode& constraint, Use& use) {
    TokenRange set = constraint.set;
    while (set.end - set.begin >= 2 && set.begin->is("{") && (set.end - 1)->is("}")) {
        ++set.begin;
        --set.end;
    }
    if (!use.table) {
        return;  // on the key, it repeats the constraint of the value
    }
    if (set.end - set.begin != 1 || set.begin->kind != TokenKind::TypeWord) {
        diagnostics_.error(constraint.span, "the name of a set of objects expected");
        return;
    }
    use.table->setName = {set.begin->text, set.begin->span};
    if (constraint.key.size() == 1) {
        use.table->key = constraint.key.front();
    } else if (!constraint.key.empty()) {
        diagnostics_.error(constraint.span, "the key must be a member of the same type");
    }
}

// "OCTET STRING (CONTAINING CLASS.&Type (...))": an open value in an OCTET STRING. Other contents have no effect.
void Resolver::applyContaining(const ConstraintNode& constraint, Use& use) {
    if (constraint.containing->syntax != TypeSyntax::ClassField || use.kind != Kind::OctetString) {
        return;
    }
    const Use inner = resolveUse(*constraint.containing, {&model_.modules[constraint.span.file], "contained", 0}, {});
    use.table = inner.table;
}

}  // namespace schemac
