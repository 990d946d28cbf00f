// What `staple` did for a certificate, as plain data, and what that means for the exit status.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/check_result.h"

namespace tallow::cli {

enum class StapleAction {
    kNone,     // there is no valid response
    kWritten,  // a new response was written
    kKept,     // the responder was asked, and the file stays
    kNotDue,   // the responder was not asked
};

/// "none", "written", "kept" or "not due".
const char* nameOf(StapleAction action);

/// What the file of a response proves about its certificate.
struct StapleFile {
    std::string path;
    bool exists = false;
    Verdict verdict;

    bool isProven() const { return verdict.answer != Answer::kUnproven; }
    /// "good", "revoked", "unknown", "not proven" or "missing".
    const char* state() const;
};

struct StapleResult {
    CheckResult answer;  // of the responder; with kNotDue only the file and the names of the certificate are filled in
    StapleAction action = StapleAction::kNone;
    std::string reason;  // of kKept and kNone, where `answer` has no error
    StapleFile file;     // after the run
    Time nextRun;

    /// The worse of what the responder says and what the file proves; kError when there is no valid response.
    CertificateState state() const;
};

/// What became of the command that runs after changes.
struct HookResult {
    std::vector<std::string> changed;  // its arguments
    std::string failure;               // empty when it succeeded
};

struct StapleReport {
    std::vector<StapleResult> staples;  // one for each certificate, at least one
    std::optional<HookResult> hook;     // absent when it was not run
};

/// 1 when a certificate is revoked, else 3 when one has no valid response, a response could not be written or the hook
/// failed, else 2 when one is unknown, else 0.
int exitStatusOf(const StapleReport& report);

/// When a response should be renewed: in the middle of its validity period, which `maxAge` may shorten; an hour after
/// thisUpdate when it has no end. The verdict must be proven.
Time middleOf(const Verdict& verdict, const std::optional<std::chrono::seconds>& maxAge);

/// When to ask again: in the middle of the validity period of the file; once that has passed, halfway to its end,
/// within a minute to an hour; in five minutes when nothing is proven.
Time nextRunAfter(Time now, const StapleFile& file, const std::optional<std::chrono::seconds>& maxAge);

}  // namespace tallow::cli
