#include "cli/outcome.h"

#include "cli/options.h"
#include "cli/output.h"

namespace tallow::cli {

Outcome outcomeOf(const std::vector<CheckResult>& results, bool json) {
    return {json ? toJson(results) : toText(results), failureLines(results), exitStatusOf(results)};
}

Outcome failed(const std::string& name, const CheckError& error) {
    return {"", failureLine(name, error), kExitNoAnswer};
}

}  // namespace tallow::cli
