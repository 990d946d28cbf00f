#include "bench/comparison.h"

#include <algorithm>
#include <cstdio>

namespace bench {

namespace {

constexpr char kSeparator = '|';
constexpr double kMicrosecondsPerSecond = 1e6;

}  // namespace

void addContender(const std::string& task, const std::string& contender, std::function<void()> action) {
    benchmark::RegisterBenchmark((task + kSeparator + contender).c_str(), [action = std::move(action)](
                                                                              benchmark::State& state) {
        for (auto _ : state) {
            action();
        }
    })->Unit(benchmark::kMicrosecond);
}

bool ComparisonReporter::ReportContext(const Context& context) {
    PrintBasicContext(&GetErrorStream(), context);
    return true;
}

// The fastest repetition counts: other load only adds time.
void ComparisonReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const std::string name = run.benchmark_name().substr(0, run.benchmark_name().find("/repeats:"));
        const std::size_t separator = name.find(kSeparator);
        if (run.error_occurred || run.run_type != Run::RT_Iteration || separator == std::string::npos) {
            std::fprintf(stderr, "%s: %s\n", name.c_str(), run.error_message.c_str());
            continue;
        }
        const std::string task = name.substr(0, separator);
        const std::string contender = name.substr(separator + 1);
        const double time = run.cpu_accumulated_time / static_cast<double>(run.iterations) * kMicrosecondsPerSecond;
        if (tasks_.empty() || tasks_.back().first != task) {
            tasks_.emplace_back(task, Times());
        }
        Times& times = tasks_.back().second;
        const auto known =
            std::find_if(times.begin(), times.end(), [&](const auto& entry) { return entry.first == contender; });
        if (known == times.end()) {
            times.emplace_back(contender, time);
        } else {
            known->second = std::min(known->second, time);
        }
    }
}

void ComparisonReporter::Finalize() {
    std::printf("%-44s %12s   %s\n", "task", "OpenSSL us", "others: us (ratio to OpenSSL)");
    for (const auto& [task, times] : tasks_) {
        const auto base =
            std::find_if(times.begin(), times.end(), [](const auto& entry) { return entry.first == kOpenssl; });
        std::printf("%-44s %12.2f  ", task.c_str(), base != times.end() ? base->second : 0.0);
        for (const auto& [contender, time] : times) {
            if (contender != kOpenssl) {
                std::printf(" %s %.2f (x%.2f)", contender.c_str(), time,
                            base != times.end() ? time / base->second : 0.0);
            }
        }
        std::printf("\n");
    }
}

}  // namespace bench
