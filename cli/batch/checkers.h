// The checkers of a run: certificates for which the same trust and responder count share one.
#pragma once

#include <chrono>
#include <list>
#include <mutex>
#include <string>
#include <utility>

#include "checker/checker.h"
#include "cli/batch/batch_item.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

/// On any thread.
class Checkers {
public:
    /// The inputs must outlive the object.
    Checkers(const RunInputs& inputs, Options options);

    /// The checker for this certificate; a copy, which is cheap.
    Checker forItem(const BatchItem& item);

private:
    // The last responders that the list names.
    static constexpr std::size_t kMostNamed = 64;

    Options optionsFor(const BatchItem& item) const;
    void forgetSilence();

    const RunInputs& inputs_;
    std::mutex mutex_;
    Options options_;
    Checker common_;
    std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();  // of what is known about silence
    std::list<std::pair<std::string, Checker>> named_;                                // by URL, the last one used first
};

}  // namespace tallow::cli
