#include "cli/batch/batch_output.h"

#include <iostream>

#include "cli/verbose.h"

namespace tallow::cli {

// The one line of a monitoring plugin is printed at the end.
ResultPrinter::Texts BatchOutput::textsOf(const CheckResult& result) const {
    if (options_.isMonitoring) {
        return {"", options_.isVerbose ? explanationOf(result) : ""};
    }
    return printer_.textsOf(result);
}

bool BatchOutput::add(const CheckResult& result) {
    const ResultPrinter::Texts texts = textsOf(result);
    const std::scoped_lock lock(mutex_);
    progress_.hide();
    printer_.print(texts);
    if (!out_) {
        return false;
    }
    use_(result);
    totals_.add(result.state);
    if (result.state == CertificateState::kError && !firstFailure_) {
        firstFailure_ = result;
    }
    return true;
}

void BatchOutput::count(CertificateState state) {
    const std::scoped_lock lock(mutex_);
    totals_.add(state);
    ++totals_.numBefore;
}

void BatchOutput::showProgress(std::chrono::milliseconds elapsed, std::optional<double> part, std::size_t numRead) {
    const std::scoped_lock lock(mutex_);
    if (!progress_.isUsed()) {
        return;
    }
    if (part && numRead != 0) {
        part = *part * static_cast<double>(totals_.count()) / static_cast<double>(numRead);
    }
    progress_.show(progressText(totals_.count(), elapsed, part));
}

void BatchOutput::note(const std::string& line) {
    const std::scoped_lock lock(mutex_);
    progress_.hide();
    std::cerr << line;
}

void BatchOutput::hideProgress() {
    const std::scoped_lock lock(mutex_);
    progress_.hide();
}

}  // namespace tallow::cli
