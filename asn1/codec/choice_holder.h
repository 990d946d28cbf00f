// Operations of the public choice classes on the holder that their one pointer owns. A null pointer, the state after
// clear() and after a move, counts as a holder of nothing.
#pragma once

#include <memory>

#include "asn1/codec/choice.h"

namespace Orvane::ASN1 {

template <class Holder>
unsigned int heldType(const std::unique_ptr<Holder>& holder) {
    return holder ? holder->type() : 0;
}

/// The value when alternative `type` is held, otherwise null.
template <class T, class Holder>
const T* heldValue(const std::unique_ptr<Holder>& holder, unsigned int type) {
    return holder ? holder->template get<T>(type) : nullptr;
}

/// Replaces what is held by a copy of `argument`, which may be part of it.
template <class Holder>
void putValue(std::unique_ptr<Holder>& holder, unsigned int type, const void* argument) {
    if (!holder) {
        holder = std::make_unique<Holder>();
    }
    holder->put(type, argument);
}

/// Makes `target` a holder with a copy of the source's value; nothing when both are the same.
template <class Holder>
void copyHolder(std::unique_ptr<Holder>& target, const std::unique_ptr<Holder>& source) {
    if (target == source) {
        return;
    }
    std::unique_ptr<Holder> copy;
    if (source) {
        copy = std::make_unique<Holder>();
        copy->copyFrom(*source);
    }
    target = std::move(copy);
}

}  // namespace Orvane::ASN1
