#include "cli/outcome.h"

#include "cli/output.h"

namespace tallow::cli {

Outcome outcomeOf(const std::vector<CheckResult>& results, bool json) {
    return {json ? toJson(results) : toText(results), failureLines(results), exitStatusOf(results)};
}

}  // namespace tallow::cli
