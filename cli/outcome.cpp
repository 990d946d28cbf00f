#include "cli/outcome.h"

#include "cli/options.h"
#include "cli/output.h"

namespace tallow::cli {

Outcome failed(const std::string& name, const CheckError& error) {
    return {"", failureLine(name, error), kExitNoAnswer};
}

}  // namespace tallow::cli
