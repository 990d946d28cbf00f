// What every part of proof/ has in common: its options, its summary line and its findings.
//
//   prove_faults [--seed N] [--cases N] [--minutes N] [--quick] [--jobs N] [--case N] [--findings DIR] [--command FILE]
//
// The last line of standard output is the summary, "faults: 512000 cases, 0 findings, 193 s, seed 1 (...)". The exit
// status is 0 without findings, 1 with findings, and 2 when the part could not run. Each finding is a directory
// DIR/PART-NUMBER with the files that reproduce it. Parts in Python take the same options.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/bytes.h"

namespace proof {

using testkit::Bytes;

struct Options {
    std::uint64_t seed = 1;
    std::optional<std::uint64_t> cases;     // at most so many
    std::optional<double> minutes;          // stops after this time
    bool quick = false;                     // a sample of the cases, for about a minute
    unsigned jobs = 2;                      // worker processes
    std::optional<std::uint64_t> onlyCase;  // runs only this case
    std::string findings = "proof-findings";
    std::string command;  // the tallow command; empty: parts leave it out
};

/// Contents by file name.
using Files = std::map<std::string, Bytes>;

/// Collects counts and findings of one case. Safe in worker processes: both live in memory that they share.
class Report {
public:
    virtual ~Report() = default;
    /// Adds to the count of `name`, at most 95 characters.
    virtual void count(const std::string& name, std::uint64_t number = 1) = 0;
    /// Records a finding: `text` is the first line of its README, `files` reproduce it.
    virtual void finding(const std::string& text, const Files& files) = 0;
};

/// One part. The cases are numbered from 0; each must depend only on its number, and on what the constructor made.
class Part {
public:
    virtual ~Part() = default;
    virtual std::uint64_t caseCount() const = 0;
    virtual void runCase(std::uint64_t number, Report& report) = 0;
    /// What reproduces a case that ended its process or did not end.
    virtual Files filesOf(std::uint64_t number) = 0;
    /// How much processor time a case may take, with all processes that it starts. It may last five times as long.
    virtual std::chrono::seconds longestCase() const { return std::chrono::seconds(60); }
};

/// The `main` of a part. `make` runs once, before the worker processes start.
int runPart(const char* name, int argc, char** argv,
            const std::function<std::unique_ptr<Part>(const Options& options)>& make);

}  // namespace proof
