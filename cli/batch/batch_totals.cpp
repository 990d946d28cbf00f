#include "cli/batch/batch_totals.h"

#include "cli/options.h"

namespace tallow::cli {

void BatchTotals::add(CertificateState state) {
    switch (state) {
        case CertificateState::kGood:
            ++numGood;
            return;
        case CertificateState::kRevoked:
            ++numRevoked;
            return;
        case CertificateState::kUnknown:
            ++numUnknown;
            return;
        case CertificateState::kError:
            break;
    }
    ++numWithoutAnswer;
}

int BatchTotals::exitStatus() const {
    if (numRevoked != 0) {
        return kExitRevoked;
    }
    if (numWithoutAnswer != 0 || count() == 0) {
        return kExitNoAnswer;
    }
    return numUnknown != 0 ? kExitUnknown : kExitGood;
}

std::string groupedNumber(std::size_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3) {
        text.insert(at - 3, ",");
    }
    return text;
}

std::string durationText(std::chrono::milliseconds duration) {
    constexpr long kMinute = 60;
    constexpr long kHour = 3600;
    constexpr long kMs = 1000;
    const long ms = duration.count();
    const long seconds = (ms + kMs / 2) / kMs;
    if (ms < 9950) {
        const long tenths = (ms + 50) / 100;
        return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + " s";
    }
    if (seconds < kMinute) {
        return std::to_string(seconds) + " s";
    }
    if (seconds < kHour) {
        return std::to_string(seconds / kMinute) + " min " + std::to_string(seconds % kMinute) + " s";
    }
    return std::to_string(seconds / kHour) + " h " + std::to_string(seconds % kHour / kMinute) + " min";
}

std::string summaryOf(const BatchTotals& totals, std::chrono::milliseconds duration) {
    const std::string before = totals.numBefore == 0 ? "" : " (" + groupedNumber(totals.numBefore) + " of them before)";
    return groupedNumber(totals.count()) + " checked" + before + ": " + groupedNumber(totals.numGood) + " good, " +
           groupedNumber(totals.numRevoked) + " revoked, " + groupedNumber(totals.numUnknown) + " unknown, " +
           groupedNumber(totals.numWithoutAnswer) + " without answer; " + durationText(duration);
}

}  // namespace tallow::cli
