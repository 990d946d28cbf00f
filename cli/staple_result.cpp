#include "cli/staple_result.h"

#include <algorithm>

#include "cli/options.h"

namespace tallow::cli {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::hours kWithoutEnd(1);  // such a response may change at any time
constexpr std::chrono::minutes kWithoutResponse(5);

std::optional<Time> endOf(const Verdict& verdict, const std::optional<std::chrono::seconds>& maxAge) {
    if (!maxAge) {
        return verdict.nextUpdate;
    }
    const Time oldest = *verdict.thisUpdate + *maxAge;
    return std::min(oldest, verdict.nextUpdate.value_or(oldest));
}

CertificateState stateOf(Answer answer) {
    switch (answer) {
        case Answer::kGood:
            return CertificateState::kGood;
        case Answer::kRevoked:
            return CertificateState::kRevoked;
        case Answer::kUnknown:
            return CertificateState::kUnknown;
        case Answer::kUnproven:
            break;
    }
    return CertificateState::kError;
}

}  // namespace

const char* nameOf(StapleAction action) {
    switch (action) {
        case StapleAction::kWritten:
            return "written";
        case StapleAction::kKept:
            return "kept";
        case StapleAction::kNotDue:
            return "not due";
        case StapleAction::kNone:
            break;
    }
    return "none";
}

const char* StapleFile::state() const {
    return isProven() ? nameOf(stateOf(verdict.answer)) : exists ? "not proven" : "missing";
}

CertificateState StapleResult::state() const {
    const CertificateState inFile = stateOf(file.verdict.answer);
    for (const CertificateState worse : {CertificateState::kRevoked, CertificateState::kUnknown}) {
        if (answer.state == worse || inFile == worse) {
            return worse;
        }
    }
    return inFile;
}

int exitStatusOf(const StapleReport& report) {
    const auto any = [&report](auto holds) { return std::any_of(report.staples.begin(), report.staples.end(), holds); };
    const auto isAny = [&any](CertificateState state) {
        return any([state](const StapleResult& result) { return result.state() == state; });
    };
    if (isAny(CertificateState::kRevoked)) {
        return kExitRevoked;
    }
    if (report.staples.empty() || isAny(CertificateState::kError) || (report.hook && !report.hook->failure.empty()) ||
        any([](const StapleResult& result) { return result.answer.unsaved.has_value(); })) {
        return kExitNoAnswer;
    }
    return isAny(CertificateState::kUnknown) ? kExitUnknown : kExitGood;
}

Time middleOf(const Verdict& verdict, const std::optional<std::chrono::seconds>& maxAge) {
    const std::optional<Time> end = endOf(verdict, maxAge);
    return end ? *verdict.thisUpdate + (*end - *verdict.thisUpdate) / 2 : *verdict.thisUpdate + kWithoutEnd;
}

Time nextRunAfter(Time now, const StapleFile& file, const std::optional<std::chrono::seconds>& maxAge) {
    if (!file.isProven()) {
        return now + kWithoutResponse;
    }
    const Time middle = middleOf(file.verdict, maxAge);
    const Time::duration left = endOf(file.verdict, maxAge).value_or(Time::max()) - now;
    return middle > now ? middle : now + std::clamp<Time::duration>(left / 2, 1min, kWithoutEnd);
}

}  // namespace tallow::cli
