// Benchmarks in pairs: the same task done by several contenders, and a table of their times at the end.
//
//   addContender("decode certificate", kOpenssl, [] { ... });
//   addContender("decode certificate", "record", [] { ... });
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// The contender that all others of a task are compared with.
inline constexpr const char* kOpenssl = "OpenSSL";

/// Registers `action` as one way to do `task`.
void addContender(const std::string& task, const std::string& contender, std::function<void()> action);

/// Collects the runs, and prints a line for each task: the time of OpenSSL, then time and ratio of the others.
class ComparisonReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    using Times = std::vector<std::pair<std::string, double>>;  // contender and microseconds
    std::vector<std::pair<std::string, Times>> tasks_;
};

// One for each source of tasks.
void addDecodeTasks();
void addRequestTasks();
void addVerifyTasks();

}  // namespace bench
