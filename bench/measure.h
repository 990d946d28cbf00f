// Measures rows: medians of rounds in which both contenders run alternately, and counts of instructions.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bench/allocations.h"
#include "bench/row.h"

namespace bench {

struct Effort {
    double secondsPerRow = 1;  // both contenders together, without preparation
    int rounds = 15;
};

struct Figures {
    double microseconds = 0;  // the median of the rounds, for one call; of addEntryCost a number without a unit
    std::optional<Allocations> memory = std::nullopt;  // of one call; absent for commands and quotients
};

struct Result {
    std::string name;
    Figures openssl = {};
    Figures tallow = {};
};

/// Rows whose name contains `part`, in the order in which they were added; those of addEntryCost follow when both of
/// their rows were measured. Throws when a contender fails.
std::vector<Result> measureRows(const std::string& part, const Effort& effort);

/// For a run under callgrind with --instr-atstart=no: each contender makes six calls to warm up, then `calls` calls
/// (commands one) that are counted, and a line "row, contender, number of calls" is printed for them. The profile of
/// line N is the N-th that callgrind dumps; for commands, which count all their instructions, it is
/// `profiles`/command.N.
void countRows(const std::string& part, std::size_t calls, const std::string& profiles);

std::vector<std::string> rowNames();

}  // namespace bench
