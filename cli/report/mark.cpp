#include "cli/report/mark.h"

namespace tallow::cli {

namespace {

bool hasBadStaple(const CheckResult& result) {
    return result.staple && result.staple->isBad();
}

}  // namespace

Mark markOf(const CheckResult& result) {
    switch (result.state) {
        case CertificateState::kRevoked:
            return Mark::kRevoked;
        case CertificateState::kUnknown:
            return Mark::kUnknown;
        case CertificateState::kGood:
            return hasBadStaple(result) || result.unsaved || result.error ? Mark::kFlawed : Mark::kGood;
        case CertificateState::kError:
            break;
    }
    return Mark::kUnproven;
}

Markup classOf(Mark mark) {
    constexpr Markup kClasses[] = {"revoked", "unproven", "unknown", "flawed", "good"};
    static_assert(std::size(kClasses) == kNumMarks);
    return kClasses[static_cast<std::size_t>(mark)];
}

std::string labelOf(const CheckResult& result) {
    switch (markOf(result)) {
        case Mark::kUnproven:
            return "not proven";
        case Mark::kFlawed:
            return hasBadStaple(result) ? "good, but staple " + result.staple->state : "good, but not saved";
        case Mark::kRevoked:
        case Mark::kUnknown:
        case Mark::kGood:
            break;
    }
    return nameOf(result.state);
}

std::string reasonOf(const CheckResult& result) {
    std::string reason;
    const auto add = [&reason](const std::string& text) { reason += (reason.empty() ? "" : "; ") + text; };
    if (result.state == CertificateState::kRevoked && !result.revocationTime.empty()) {
        add("since " + result.revocationTime +
            (result.revocationReason.empty() ? "" : " (" + result.revocationReason + ")"));
    }
    if (result.state == CertificateState::kUnknown) {
        add("the responder does not know this certificate");
    }
    if (result.error) {
        add(result.error->text);
    }
    if (hasBadStaple(result)) {
        add("staple: " + (result.staple->text.empty() ? result.staple->state : result.staple->text));
    }
    if (result.unsaved) {
        add(result.unsaved->text);
    }
    return reason;
}

}  // namespace tallow::cli
