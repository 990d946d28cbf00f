// The public functions, each path from its start to its result.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "proof/environment/scene.h"

namespace proof {

enum class Answer { kNone, kGood, kRevoked, kUnknown, kDone };  // kDone: a result that is not a verdict

struct PathResult {
    Answer answer = Answer::kNone;
    std::string text;  // why there is none
};

/// What a run may use besides the scene: a machine of its own.
struct Machine {
    testkit::TempDir folder;
    std::string settings;
};

struct Path {
    const char* name;
    std::function<PathResult(const Machine& machine)> run;  // may throw what docs/conventions.md names
    Answer expected = Answer::kGood;                        // without a fault
};

/// Each works on the files and servers of the scene, which must outlive them.
std::vector<Path> makePaths(const Scene& scene);

}  // namespace proof
