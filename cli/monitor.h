// The result of `check --monitor`: one line and an exit status for a monitoring system.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "cli/deadlines.h"
#include "cli/options.h"
#include "cli/outcome.h"

namespace tallow::cli {

/// States of the protocol of monitoring plugins, which are its exit statuses.
enum class MonitorState { kOk, kWarning, kCritical, kUnknown };

/// Collects results. Its size does not depend on their number.
class Monitor {
public:
    /// Times are compared with `now`.
    Monitor(const CheckOptions& options, Seconds now);

    void add(const CheckResult& result);

    /// "OCSP CRITICAL - text | values": the worst state of all, critical before unknown before warning; what is wrong;
    /// the earliest deadlines and the counts. Without a result the state is unknown.
    [[nodiscard]] Outcome finish() const;

private:
    struct Deadline {
        const char* label;
        const char* what;
        std::optional<Seconds> Deadlines::*time;
        std::optional<Seconds> earliest = std::nullopt;
    };

    void judge(const CheckResult& result);
    void judge(const CheckResult& result, Deadline& deadline, Seconds time);
    void report(MonitorState state, const std::string& text);
    std::string limitsText() const;
    std::string textOf(MonitorState state) const;

    const std::optional<std::chrono::seconds> warn_, critical_;
    const Seconds now_;
    std::array<Deadline, 4> deadlines_;
    std::optional<std::chrono::milliseconds> slowest_;
    std::array<std::size_t, 4> counts_{};               // by CertificateState
    std::array<std::size_t, 4> numProblems_{};          // by MonitorState
    std::array<std::vector<std::string>, 4> problems_;  // the first of them
    std::string lastFile_;
};

/// Whether the command line asks for this output. It need not be valid.
bool isMonitorAsked(int argc, const char* const* argv);

/// The run failed as a whole.
Outcome monitorFailure(const std::string& text);

}  // namespace tallow::cli
