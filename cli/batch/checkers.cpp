#include "cli/batch/checkers.h"

#include <algorithm>
#include <memory>

#include "checker/silent_responders.h"

namespace tallow::cli {

Checkers::Checkers(const RunInputs& inputs, Options options)
    : inputs_(inputs), options_(std::move(options)), common_(inputs.trust(), options_) {}

Options Checkers::optionsFor(const BatchItem& item) const {
    Options options = options_;
    if (!item.url.empty()) {
        options.responders = {item.url};
        options.respondersFrom = item.isUrlForeign ? ResponderSource::kUntrusted : ResponderSource::kCaller;
    }
    return options;
}

// A run may take hours: a responder that did not answer is asked again after a while.
void Checkers::forgetSilence() {
    constexpr std::chrono::seconds kWhile{60};
    const auto now = std::chrono::steady_clock::now();
    if (now - since_ < kWhile) {
        return;
    }
    since_ = now;
    options_.silent = std::make_shared<SilentResponders>();
    common_ = Checker(inputs_.trust(), options_);
    named_.clear();
}

Checker Checkers::forItem(const BatchItem& item) {
    const std::scoped_lock lock(mutex_);
    forgetSilence();
    if (item.crls) {  // they count for this certificate only
        Trust trust = inputs_.trust();
        for (const std::string& crl : *item.crls) {
            trust.addCrls(crl);
        }
        return Checker(trust, optionsFor(item));
    }
    if (item.url.empty()) {
        return common_;
    }
    const auto found =
        std::find_if(named_.begin(), named_.end(), [&item](const auto& entry) { return entry.first == item.url; });
    if (found != named_.end()) {
        named_.splice(named_.begin(), named_, found);
        return named_.front().second;
    }
    named_.emplace_front(item.url, Checker(inputs_.trust(), optionsFor(item)));
    if (named_.size() > kMostNamed) {
        named_.pop_back();
    }
    return named_.front().second;
}

}  // namespace tallow::cli
