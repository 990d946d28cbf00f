// The subcommands, each as a run of the program tallow; and programs that load the library.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "proof/environment/paths.h"

namespace proof {

struct Command {
    std::string name;
    std::function<std::vector<std::string>(const Machine& machine)> arguments;  // after the program
    std::vector<int> failures = {3, 64};  // the statuses of docs/exit-statuses.md that a fault may lead to
    bool isRepeatable = false;            // two runs print the same
    std::string output = {};              // the file in the machine's folder that it writes
    bool keepsRefused = false;            // the file also has what was received but not accepted
    std::string program = {};             // a path; empty: tallow
};

std::vector<Command> makeCommands(const Scene& scene);

}  // namespace proof
