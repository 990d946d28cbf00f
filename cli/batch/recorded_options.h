// What the verdicts of a run over a list depend on, so that a run is continued only where they would be the same.
#pragma once

#include <string>

#include "cli/options.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

/// Stands for the options about trust and asking with the contents of the files that they name, the settings in force,
/// and the contents of the stores. What can only keep a check from its end, such as a time limit, is left out.
std::string recordedOptions(const CheckOptions& options, const RunInputs& inputs);

}  // namespace tallow::cli
