#include "cli/monitor.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "checker/text/safe_text.h"
#include "cli/check_result.h"

namespace tallow::cli {

namespace {

constexpr std::size_t kMostShown = 5;
// From the worst on. Without a verified answer the state may be worse than one that expires soon.
constexpr MonitorState kOrder[] = {MonitorState::kCritical, MonitorState::kUnknown, MonitorState::kWarning};

std::size_t indexOf(MonitorState state) {
    return static_cast<std::size_t>(state);
}
std::size_t indexOf(CertificateState state) {
    return static_cast<std::size_t>(state);
}

const char* nameOf(MonitorState state) {
    constexpr const char* kNames[] = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
    return kNames[indexOf(state)];
}

// The bar separates text from values.
std::string safe(const std::string& text) {
    std::string line = text::safeLine(text);
    std::replace(line.begin(), line.end(), '|', '/');
    return line;
}

std::string lineOf(MonitorState state, const std::string& text) {
    return std::string("OCSP ") + nameOf(state) + " - " + safe(text);
}

}  // namespace

Monitor::Monitor(const CheckOptions& options, Seconds now)
    : warn_(options.warn),
      critical_(options.critical),
      now_(now),
      deadlines_{{{"next_update", "the response", &Deadlines::nextUpdate},
                  {"certificate_expiry", "the certificate", &Deadlines::certificate},
                  {"staple_next_update", "the stapled response", &Deadlines::staple},
                  {"responder_expiry", "the certificate of the responder", &Deadlines::responder}}} {}

void Monitor::add(const CheckResult& result) {
    lastFile_ = result.file;
    ++counts_[indexOf(result.state)];
    judge(result);
    const Deadlines deadlines = deadlinesOf(result);
    for (Deadline& deadline : deadlines_) {
        if (const std::optional<Seconds>& time = deadlines.*deadline.time) {
            judge(result, deadline, *time);
        }
    }
    if (deadlines.responseTime) {
        slowest_ = std::max(slowest_.value_or(std::chrono::milliseconds(0)), *deadlines.responseTime);
    }
}

void Monitor::judge(const CheckResult& result) {
    const std::string& file = result.file;
    switch (result.state) {
        case CertificateState::kGood:
            break;
        case CertificateState::kRevoked:
            report(MonitorState::kCritical,
                   file + " is revoked since " + result.revocationTime +
                       (result.revocationReason.empty() ? "" : " (" + result.revocationReason + ")"));
            break;
        case CertificateState::kUnknown:
            report(MonitorState::kCritical, file + " is unknown to its responder");
            break;
        case CertificateState::kError:
            report(result.chain == "invalid" ? MonitorState::kCritical : MonitorState::kUnknown,
                   file + " is not proven good: " + (result.error ? result.error->text : std::string("no reason")));
            break;
    }
    if (result.staple && result.staple->isBad()) {
        report(MonitorState::kCritical, file + ": staple: " + result.staple->text);
    }
    if (result.unsaved) {
        report(MonitorState::kUnknown, result.unsaved->text);
    }
}

void Monitor::judge(const CheckResult& result, Deadline& deadline, Seconds time) {
    deadline.earliest = std::min(time, deadline.earliest.value_or(time));
    const std::chrono::seconds left = time - now_;
    const bool isCritical = left.count() <= 0 || (critical_ && left < *critical_);
    if (isCritical || (warn_ && left < *warn_)) {
        report(isCritical ? MonitorState::kCritical : MonitorState::kWarning,
               result.file + ": " + deadline.what + (left.count() <= 0 ? " expired" : " expires in " + spanText(left)));
    }
}

void Monitor::report(MonitorState state, const std::string& text) {
    ++numProblems_[indexOf(state)];
    if (problems_[indexOf(state)].size() < kMostShown) {
        problems_[indexOf(state)].push_back(text);
    }
}

std::string Monitor::textOf(MonitorState state) const {
    const std::size_t numGood = counts_[indexOf(CertificateState::kGood)];
    if (state == MonitorState::kOk) {
        return numGood == 1 ? lastFile_ + " is good" : std::to_string(numGood) + " certificates are good";
    }
    std::string text;
    std::size_t numShown = 0;
    std::size_t numAll = 0;
    for (const MonitorState each : kOrder) {
        numAll += numProblems_[indexOf(each)];
        for (const std::string& problem : problems_[indexOf(each)]) {
            if (numShown < kMostShown) {
                text += (numShown == 0 ? "" : "; ") + problem;
                ++numShown;
            }
        }
    }
    return numAll == 0         ? "nothing was checked"
           : numAll > numShown ? text + "; and " + std::to_string(numAll - numShown) + " more"
                               : text;
}

// Ranges of the protocol: an alert below the number.
std::string Monitor::limitsText() const {
    const auto below = [](const std::optional<std::chrono::seconds>& limit) {
        return ";" + (limit ? std::to_string(limit->count()) + ":" : std::string());
    };
    return warn_ || critical_ ? below(warn_) + below(critical_) : std::string();
}

Outcome Monitor::finish() const {
    const auto* const worst = std::find_if(std::begin(kOrder), std::end(kOrder),
                                           [this](MonitorState state) { return numProblems_[indexOf(state)] != 0; });
    const bool isGood = counts_[indexOf(CertificateState::kGood)] != 0;
    const MonitorState state = worst != std::end(kOrder) ? *worst : isGood ? MonitorState::kOk : MonitorState::kUnknown;
    std::string line = lineOf(state, textOf(state)) + " |";
    for (const Deadline& deadline : deadlines_) {
        if (deadline.earliest) {
            line += std::string(" ") + deadline.label + "=" + std::to_string((*deadline.earliest - now_).count()) +
                    "s" + limitsText();
        }
    }
    if (slowest_) {
        char text[48];
        std::snprintf(text, sizeof text, " response_time=%.3fs;;;0", std::chrono::duration<double>(*slowest_).count());
        line += text;
    }
    for (const auto& [label, counted] :
         {std::pair("good", CertificateState::kGood), std::pair("revoked", CertificateState::kRevoked),
          std::pair("unknown", CertificateState::kUnknown), std::pair("error", CertificateState::kError)}) {
        line += std::string(" ") + label + "=" + std::to_string(counts_[indexOf(counted)]) + ";;;0";
    }
    return {line + "\n", "", static_cast<int>(state)};
}

bool isMonitorAsked(int argc, const char* const* argv) {
    const char* const* const end = std::find(argv, argv + argc, std::string_view("--"));
    return argc > 1 && std::string_view(argv[1]) == "check" &&
           std::find(argv, end, std::string_view("--monitor")) != end;
}

Outcome monitorFailure(const std::string& text) {
    return {lineOf(MonitorState::kUnknown, text) + "\n", "", static_cast<int>(MonitorState::kUnknown)};
}

}  // namespace tallow::cli
