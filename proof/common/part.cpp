#include "proof/common/part.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include "proof/common/workers.h"

namespace proof {

namespace {

constexpr double kQuickSeconds = 45;
constexpr std::uint64_t kQuickCases = 25000;

Options optionsIn(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        const auto value = [&]() -> std::string {
            if (++i == argc) {
                throw std::invalid_argument(name + " needs a value");
            }
            return argv[i];
        };
        if (name == "--seed") {
            options.seed = std::stoull(value());
        } else if (name == "--cases") {
            options.cases = std::stoull(value());
        } else if (name == "--minutes") {
            options.minutes = std::stod(value());
        } else if (name == "--quick") {
            options.quick = true;
        } else if (name == "--jobs") {
            options.jobs = static_cast<unsigned>(std::stoul(value()));
        } else if (name == "--case") {
            options.onlyCase = std::stoull(value());
        } else if (name == "--findings") {
            options.findings = value();
        } else if (name == "--command") {
            options.command = value();
        } else {
            throw std::invalid_argument("unknown option " + name);
        }
    }
    if (options.jobs == 0 || options.jobs > Tally::kMaxWorkers) {
        throw std::invalid_argument("--jobs takes 1 to " + std::to_string(Tally::kMaxWorkers));
    }
    return options;
}

// A quick run takes cases from the whole range, starting at another one for each seed.
Plan planFor(const Options& options, std::uint64_t available) {
    if (options.onlyCase) {
        return {1, 1, *options.onlyCase, 0};
    }
    Plan plan{std::min(available, options.cases.value_or(available)), 1, 0, options.minutes.value_or(0) * 60};
    if (options.quick) {
        const std::uint64_t wanted = std::min(plan.cases, options.cases.value_or(kQuickCases));
        plan.stride = wanted == 0 ? 1 : available / wanted;
        plan.first = options.seed % plan.stride;
        plan.cases = wanted;
        plan.seconds = options.minutes ? plan.seconds : kQuickSeconds;
    }
    return plan;
}

// On all processors, of the workers and what they ran.
double secondsOfWorkers() {
    ::rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

}  // namespace

int runPart(const char* name, int argc, char** argv,
            const std::function<std::unique_ptr<Part>(const Options& options)>& make) {
    try {
        const Options options = optionsIn(argc, argv);
        const std::unique_ptr<Part> part = make(options);
        const Plan plan = planFor(options, part->caseCount());
        Tally tally;
        SharedReport report(tally, name, options);
        const auto start = std::chrono::steady_clock::now();
        runInWorkers(*part, plan, options, tally, report);
        const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
        for (const auto& [what, number] : tally.counts()) {
            std::printf("%12llu  %s\n", static_cast<unsigned long long>(number), what.c_str());
        }
        std::printf("%s: %llu cases, %llu findings, %.0f s (%.0f s of processor time), seed %llu\n", name,
                    static_cast<unsigned long long>(tally.done()), static_cast<unsigned long long>(tally.findings()),
                    duration.count(), secondsOfWorkers(), static_cast<unsigned long long>(options.seed));
        return tally.findings() == 0 && tally.done() > 0 ? 0 : 1;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "prove_%s: %s\n", name, failure.what());
        return 2;
    }
}

}  // namespace proof
