// Faults in a path, in a process of its own: forked from this one, in which the library was not used yet.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "proof/common/part.h"
#include "proof/environment/fault_points.h"
#include "proof/environment/paths.h"

namespace proof {

/// Which calls fail, each once, and each in a run of its own.
struct Faults {
    bool isWarm = false;  // in a process that took the path before
    std::size_t point = 0;
    std::uint64_t first = 1;  // counted from 1
    std::uint64_t number = 1;

    std::string text(std::uint64_t call) const;
};

/// How often a path calls each function, in a new process and in one that took it before.
struct Calls {
    std::vector<std::uint64_t> cold, warm;
    PathResult result;
};

/// Throws std::runtime_error when the path does not give the expected answer.
Calls countCalls(const Scene& scene, const Path& path);

/// Makes the faults and records what they led to. After each one the path must end as if there had been none.
void tryFaults(const Scene& scene, const Path& path, const Faults& faults, Report& report);

}  // namespace proof
