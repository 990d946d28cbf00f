#include "bench/measure.h"

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#endif

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "bench/child_process.h"

namespace bench {

namespace {

constexpr std::size_t kWarmUpCalls = 6;  // the library reads its first certificates in another way
constexpr double kMicrosecondsPerSecond = 1e6;

struct NamedRow {
    std::string name;
    std::function<Row()> make;
};

struct EntryCost {
    std::string name;
    std::string large;
    std::size_t largeEntries;
    std::string small;
    std::size_t smallEntries;
};

std::vector<NamedRow>& rows() {
    static std::vector<NamedRow> all;
    return all;
}

std::vector<EntryCost>& entryCosts() {
    static std::vector<EntryCost> all;
    return all;
}

double now(Clock clock) {
    timespec time{};
    ::clock_gettime(clock == Clock::kProcessor ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * kMicrosecondsPerSecond + static_cast<double>(time.tv_nsec) / 1000;
}

void repeat(const Action& action, std::size_t first, std::size_t calls) {
    for (std::size_t i = 0; i < calls; ++i) {
        action(first + i);
    }
}

// Runs both contenders of a row, each with its own count of calls since the last preparation.
class Runner {
public:
    explicit Runner(const Row& row) : row_(row) {}

    void prepare(std::size_t calls) {
        done_ = {};
        if (row_.prepare) {
            row_.prepare(calls);
        }
    }

    // Microseconds for one call.
    double time(std::size_t contender, std::size_t calls) {
        const Action& action = contender == 0 ? row_.openssl : row_.tallow;
        const double begin = now(row_.clock);
        repeat(action, done_[contender], calls);
        done_[contender] += calls;
        return (now(row_.clock) - begin) / static_cast<double>(calls);
    }

    Allocations memory(std::size_t contender) {
        return allocationsOf([&] { time(contender, 1); });
    }

private:
    const Row& row_;
    std::array<std::size_t, 2> done_{};
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

Result measure(const std::string& name, const Row& row, const Effort& effort) {
    Runner runner(row);
    runner.prepare(kWarmUpCalls + 1);
    double slowest = 0;
    Result result{.name = name};
    const std::array<Figures*, 2> figures{&result.openssl, &result.tallow};
    for (const std::size_t contender : {0, 1}) {
        runner.time(contender, kWarmUpCalls - 1);
        slowest += runner.time(contender, 1);
        if (row.clock == Clock::kProcessor) {
            figures[contender]->memory = runner.memory(contender);
        }
    }
    const double round = effort.secondsPerRow * kMicrosecondsPerSecond / effort.rounds;
    const auto calls =
        std::clamp<std::size_t>(static_cast<std::size_t>(round / std::max(slowest, 0.1)), 1, row.maxCalls);
    std::array<std::vector<double>, 2> times;
    for (int i = 0; i < effort.rounds; ++i) {
        runner.prepare(calls);
        for (std::size_t j = 0; j < 2; ++j) {
            const std::size_t contender = (static_cast<std::size_t>(i) + j) % 2;  // neither always goes first
            times[contender].push_back(runner.time(contender, calls));
        }
    }
    result.openssl.microseconds = median(times[0]);
    result.tallow.microseconds = median(times[1]);
    return result;
}

void addQuotients(std::vector<Result>& results) {
    const auto find = [&](const std::string& name) {
        return std::find_if(results.begin(), results.end(), [&](const Result& result) { return result.name == name; });
    };
    for (const EntryCost& cost : entryCosts()) {
        const auto large = find(cost.large);
        const auto small = find(cost.small);
        if (large == results.end() || small == results.end()) {
            continue;
        }
        const double scale = static_cast<double>(cost.smallEntries) / static_cast<double>(cost.largeEntries);
        Result result{.name = cost.name};
        result.openssl.microseconds = large->openssl.microseconds / small->openssl.microseconds * scale;
        result.tallow.microseconds = large->tallow.microseconds / small->tallow.microseconds * scale;
        results.insert(large + 1, result);
    }
}

// Calls `use` with each row whose name contains `part`, made for the time of that call.
void forEachRow(const std::string& part, const std::function<void(const std::string&, const Row&)>& use) {
    bool isAnyMatched = false;
    for (const NamedRow& row : rows()) {
        if (row.name.find(part) == std::string::npos) {
            continue;
        }
        isAnyMatched = true;
        try {
            use(row.name, row.make());
        } catch (...) {
            std::fprintf(stderr, "tallow-bench: failed in the row \"%s\"\n", row.name.c_str());
            throw;
        }
    }
    if (!isAnyMatched) {
        throw std::runtime_error("no row has a name with \"" + part + "\"; --list prints the names");
    }
}

}  // namespace

void addRow(std::string name, std::function<Row()> make) {
    rows().push_back({std::move(name), std::move(make)});
}

void addEntryCost(std::string name, std::string large, std::size_t largeEntries, std::string small,
                  std::size_t smallEntries) {
    entryCosts().push_back({std::move(name), std::move(large), largeEntries, std::move(small), smallEntries});
}

std::vector<Result> measureRows(const std::string& part, const Effort& effort) {
    std::vector<Result> results;
    forEachRow(part, [&](const std::string& name, const Row& row) { results.push_back(measure(name, row, effort)); });
    addQuotients(results);
    return results;
}

#ifdef CALLGRIND_DUMP_STATS
void countRows(const std::string& part, std::size_t calls, const std::string& profiles) {
    int number = 0;
    forEachRow(part, [&](const std::string& name, const Row& row) {
        const bool isCommand = row.clock == Clock::kElapsed;
        const std::size_t counted = isCommand ? 1 : calls;
        if (row.prepare) {
            row.prepare(kWarmUpCalls + counted);
        }
        for (const auto& [contender, action] : {std::pair{"OpenSSL", &row.openssl}, {"tallow", &row.tallow}}) {
            repeat(*action, 0, kWarmUpCalls);
            const std::string file = profiles + "/command." + std::to_string(++number);
            setCommandPrefix({"valgrind", "-q", "--tool=callgrind", "--callgrind-out-file=" + file});
            CALLGRIND_START_INSTRUMENTATION;
            repeat(*action, kWarmUpCalls, counted);
            CALLGRIND_STOP_INSTRUMENTATION;
            CALLGRIND_DUMP_STATS;
            setCommandPrefix({});
            std::printf("%s\t%s\t%zu\n", name.c_str(), contender, counted);
            std::fflush(stdout);
        }
    });
}
#else
void countRows(const std::string&, std::size_t, const std::string&) {
    throw std::runtime_error("built without valgrind's header; install valgrind, and build again");
}
#endif

std::vector<std::string> rowNames() {
    std::vector<std::string> names;
    for (const NamedRow& row : rows()) {
        names.push_back(row.name);
    }
    return names;
}

}  // namespace bench
