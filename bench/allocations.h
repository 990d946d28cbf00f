// Counts what a call allocates: the memory functions of the C library are replaced in this program, so blocks of all
// libraries count.
#pragma once

#include <functional>

namespace bench {

struct Allocations {
    long count = 0;
    long peakBytes = 0;  // most that was in use at once, above what was in use before
};

/// Of this thread during `action`. Zeros in a build with sanitizers, which replace these functions themselves.
Allocations allocationsOf(const std::function<void()>& action);

}  // namespace bench
