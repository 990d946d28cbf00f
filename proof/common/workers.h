// Runs the cases of a part in worker processes, so that a crash is a finding and not the end of the run.
#pragma once

#include "proof/common/part.h"
#include "proof/common/tally.h"

namespace proof {

struct Plan {
    std::uint64_t cases = 0;   // how many run
    std::uint64_t stride = 1;  // case i of the run is case i * stride + first of the part
    std::uint64_t first = 0;
    double seconds = 0;  // stops after so many; 0: runs all cases
};

/// Reports of one process.
class SharedReport : public Report {
public:
    SharedReport(Tally& tally, std::string name, const Options& options)
        : tally_(tally), name_(std::move(name)), options_(options) {}
    void count(const std::string& name, std::uint64_t number) override { tally_.add(name, number); }
    void finding(const std::string& text, const Files& files) override;
    void startCase(std::uint64_t number) { case_ = number; }

private:
    Tally& tally_;
    std::string name_;
    const Options& options_;
    std::uint64_t case_ = 0;
};

void runInWorkers(Part& part, const Plan& plan, const Options& options, Tally& tally, SharedReport& report);

}  // namespace proof
