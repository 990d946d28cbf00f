// What the targets of value classes do with one input.
#pragma once

#include <cstdlib>

#include "foundation/blob.h"
#include "handles/exception.h"

namespace fuzzing {

/// Runs what may throw the exception of the library, and nothing else.
template <class Action>
void attempt(Action action) {
    try {
        action();
    } catch (const ATL::CAtlException&) {
    }
}

/// What decodes must encode to what decodes to the same, unless it cannot be encoded.
template <class Value>
void roundTrip(const Orvane::CBlob& data, Value value = Value()) {
    attempt([&] {
        value.decode(data);
        const Orvane::CBlob encoded = value.encode();
        Value again = value;
        again.decode(encoded);
        if (!(again.encode() == encoded)) {
            std::abort();
        }
    });
}

}  // namespace fuzzing
