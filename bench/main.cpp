// Measures the rows and prints the table.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "handles/exception.h"

namespace {

using bench::Result;

constexpr double kBytesPerKilobyte = 1024;

void printForPeople(const std::vector<Result>& results) {
    std::printf("%-66s %22s %9s %21s %23s\n", "", "microseconds", "ratio", "allocations", "peak KB");
    std::printf("%-66s %11s %10s %9s %11s %9s %12s %10s\n", "", "OpenSSL", "tallow", "", "OpenSSL", "tallow", "OpenSSL",
                "tallow");
    for (const auto& [name, openssl, tallow] : results) {
        std::printf("%-66s %11.2f %10.2f %9.3f", name.c_str(), openssl.microseconds, tallow.microseconds,
                    tallow.microseconds / openssl.microseconds);
        if (openssl.memory && tallow.memory) {
            std::printf(" %11ld %9ld %12.1f %10.1f", openssl.memory->count, tallow.memory->count,
                        static_cast<double>(openssl.memory->peakBytes) / kBytesPerKilobyte,
                        static_cast<double>(tallow.memory->peakBytes) / kBytesPerKilobyte);
        }
        std::printf("\n");
    }
}

// One line for each row, for programs. The last four columns are missing where they do not apply.
void printTabSeparated(const std::vector<Result>& results) {
    std::printf("row\topenssl_us\ttallow_us\topenssl_allocations\ttallow_allocations\topenssl_peak\ttallow_peak\n");
    for (const auto& [name, openssl, tallow] : results) {
        std::printf("%s\t%.3f\t%.3f", name.c_str(), openssl.microseconds, tallow.microseconds);
        if (openssl.memory && tallow.memory) {
            std::printf("\t%ld\t%ld\t%ld\t%ld", openssl.memory->count, tallow.memory->count, openssl.memory->peakBytes,
                        tallow.memory->peakBytes);
        }
        std::printf("\n");
    }
}

int run(int argc, char** argv) {
    bench::Effort effort;
    std::string part;
    std::string profiles;
    bool list = false;
    bool tabs = false;
    std::size_t calls = 5;
    CLI::App app("The library beside OpenSSL on the same bytes, in the same run.");
    app.add_option("--rows", part, "only the rows whose name contains this text");
    app.add_option("--seconds", effort.secondsPerRow, "time for each row, without making its data (default 1)")
        ->check(CLI::PositiveNumber);
    app.add_option("--rounds", effort.rounds, "rounds, whose median counts (default 15)")->check(CLI::Range(1, 1000));
    app.add_flag("--list", list, "only print the names of the rows");
    app.add_flag("--tsv", tabs, "separate columns by tabs; sizes in bytes");
    app.add_option("--count", profiles, "run under callgrind, with the profiles of commands in this directory");
    app.add_option("--calls", calls, "calls of each contender with --count (default 5)");
    CLI11_PARSE(app, argc, argv);

    bench::addDecodeRows();
    bench::addRequestRows();
    bench::addVerifyRows();
    bench::addCrlRows();
    bench::addCommandRows();
    if (list) {
        for (const std::string& name : bench::rowNames()) {
            std::printf("%s\n", name.c_str());
        }
    } else if (!profiles.empty()) {
        bench::countRows(part, calls, profiles);
    } else {
        const std::vector<Result> results = bench::measureRows(part, effort);
        tabs ? printTabSeparated(results) : printForPeople(results);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const ATL::CAtlException& exception) {
        std::fprintf(stderr, "tallow-bench: status 0x%08X\n", static_cast<unsigned>(exception.status()));
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "tallow-bench: %s\n", exception.what());
    }
    return 1;
}
