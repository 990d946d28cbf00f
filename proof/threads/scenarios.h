// What threads may do at the same time, each scenario in a process of its own.
#pragma once

#include <vector>

#include "proof/environment/scene.h"

namespace proof {

struct Scenario {
    const char* name;
    /// Runs in a new process, in which the library was not used yet, and returns its exit status: 0 when all went well.
    /// Prints what did not. `seed` varies what the threads do.
    int (*run)(const Scene& scene, unsigned seed);
};

const std::vector<Scenario>& scenarios();

// Those in which a process is copied, ends or replaces its program.
int forkAmongChecks(const Scene& scene, unsigned seed);
int exitAmongPaths(const Scene& scene, unsigned seed);
int exitThatWaitsForChecks(const Scene& scene, unsigned seed);
int reloadLibrary(const Scene& scene, unsigned seed);

}  // namespace proof
