// How many certificates of a list have which status, and what that means for the whole run.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "cli/check_result.h"

namespace tallow::cli {

struct BatchTotals {
    std::size_t numGood = 0, numRevoked = 0, numUnknown = 0, numWithoutAnswer = 0;
    std::size_t numBefore = 0;  // of these, reported by an earlier run

    void add(CertificateState state);
    std::size_t count() const { return numGood + numRevoked + numUnknown + numWithoutAnswer; }
    /// As exitStatusOf gives for all of them.
    int exitStatus() const;
};

/// "1,000".
std::string groupedNumber(std::size_t number);

/// "0.4 s", "41 s", "3 min 12 s", "2 h 5 min".
std::string durationText(std::chrono::milliseconds duration);

/// "1,000 checked (400 of them before): 990 good, 3 revoked, 2 unknown, 5 without answer; 41 s".
std::string summaryOf(const BatchTotals& totals, std::chrono::milliseconds duration);

}  // namespace tallow::cli
