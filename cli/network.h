// How the servers of one run are reached: proxy, time limit, and those that did not answer.
#pragma once

#include <memory>
#include <string>

#include "checker/checker.h"
#include "cli/options.h"

namespace tallow::cli {

class RunNetwork {
public:
    /// Reads the password file; the settings must be open. Throws InputError.
    explicit RunNetwork(const NetworkOptions& options);

    /// Fills in what these options say. All checks of the run share what is known about silent responders.
    void apply(Options& checking) const;

private:
    std::string proxy_, user_, password_;
    std::optional<std::chrono::milliseconds> timeout_;
    std::shared_ptr<SilentResponders> silent_;
};

/// Says when the value of this option is no http or https address; empty for none, and for an empty value.
std::string mistakeInUrl(const std::string& option, const std::string& url);

/// A mistake in these options that the parser does not find; empty for none.
std::string mistakeInNetwork(const NetworkOptions& options);

}  // namespace tallow::cli
