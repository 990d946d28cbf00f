#include "cli/check_result.h"

#include <algorithm>

#include "cli/options.h"

namespace tallow::cli {

const char* nameOf(CertificateState state) {
    switch (state) {
        case CertificateState::kGood:
            return "good";
        case CertificateState::kRevoked:
            return "revoked";
        case CertificateState::kUnknown:
            return "unknown";
        case CertificateState::kError:
            break;
    }
    return "error";
}

int exitStatusOf(const std::vector<CheckResult>& results) {
    const auto any = [&results](auto holds) { return std::any_of(results.begin(), results.end(), holds); };
    if (any([](const CheckResult& r) { return r.state == CertificateState::kRevoked; })) {
        return kExitRevoked;
    }
    if (results.empty() || any([](const CheckResult& r) {
            return r.state == CertificateState::kError || r.unsaved || (r.staple && r.staple->isBad());
        })) {
        return kExitNoAnswer;
    }
    return any([](const CheckResult& r) { return r.state == CertificateState::kUnknown; }) ? kExitUnknown : kExitGood;
}

}  // namespace tallow::cli
