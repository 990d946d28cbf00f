// The responders that did not answer during a run of many checks.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "export.h"

namespace tallow {

/// Remembers which responders did not answer, so that later checks do not wait for them again. Thread-safe; share one
/// object among the checks of one run, not for hours: an address stays in it.
class TALLOW_EXPORT SilentResponders {
public:
    SilentResponders();
    ~SilentResponders();
    SilentResponders(const SilentResponders&) = delete;
    SilentResponders& operator=(const SilentResponders&) = delete;

    /// Remembers that nothing could be exchanged with the host and port of this address.
    void add(const std::string& url, const std::string& reason);
    /// Why, when it was added; else nothing.
    [[nodiscard]] std::optional<std::string> reasonFor(const std::string& url) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace tallow
