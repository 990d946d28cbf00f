// Runs the tasks and prints the table. All options of Google Benchmark apply.
#include <cstdio>
#include <exception>

#include "bench/comparison.h"
#include "handles/exception.h"

int main(int argc, char** argv) {
    try {
        bench::addDecodeTasks();
        bench::addRequestTasks();
        bench::addVerifyTasks();
    } catch (const ATL::CAtlException& exception) {
        std::fprintf(stderr, "0x%08X\n", static_cast<unsigned>(exception.status()));
        return 1;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    bench::ComparisonReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
