// Every allocation and every fallible call of the C library, libcurl, libcrypto and libssl fails once, on every public
// path. The path must end as without the fault or with a failure, free everything, and succeed afterwards.
//
// TALLOW_FAULT_ONLY, a pattern of file names, chooses among texts such as "Checker::check, good: malloc, warm" and
// "tallow send: open, cold": '*alloc, warm'. Without --command the runs of tallow are left out.
#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "proof/environment/commands.h"
#include "proof/environment/trial.h"
#include "tests/support/process.h"

namespace {

using namespace proof;

constexpr std::uint64_t kFaultsOfProcess = 2;  // in a warm process
constexpr int kLimitMs = 200000;               // on a busy machine; less than a case may last

// A range of faults in a path or a command.
struct Group {
    std::size_t target = 0;  // number of the path, or of the command
    bool isCommand = false;
    Faults faults;  // of all its cases
    std::uint64_t numCases = 0;
};

// A busy machine may need a second try.
template <typename Work>
auto patiently(const Work& work) {
    for (int triesLeft = 2;; --triesLeft) {
        try {
            return work();
        } catch (const std::runtime_error&) {
            if (triesLeft == 0) {
                throw;
            }
        }
    }
}

// The dynamic linker ends a process that lacks memory for the thread variables of a library, as at exit by GnuTLS.
bool isEndedByLinker(const testkit::ProcessResult& result) {
    return result.exitStatus == 127 && result.err.find("thread-local data") != std::string::npos;
}

struct Known {
    testkit::ProcessResult result;
    std::vector<std::uint64_t> calls;
};

class Environment : public Part {
public:
    explicit Environment(const Options& options)
        : program_(options.command), paths_(makePaths(scene_)), commands_(makeCommands(scene_)) {
        for (std::size_t i = 0; i < paths_.size(); ++i) {
            const Calls calls = patiently([&] { return countCalls(scene_, paths_[i]); });
            std::printf("%-40s %6llu and %6llu allocations; %s\n", paths_[i].name, sumOf(calls.cold), sumOf(calls.warm),
                        calls.result.answer == Answer::kNone ? calls.result.text.c_str() : "proven");
            for (std::size_t point = 0; point < faultPointCount(); ++point) {
                add({i, false, {false, point, 1, 1}, calls.cold[point]});
                add({i,
                     false,
                     {true, point, 1, kFaultsOfProcess},
                     (calls.warm[point] + kFaultsOfProcess - 1) / kFaultsOfProcess});
            }
        }
        for (Command& command : commands_) {
            command.program = command.program.empty() ? program_ : command.program;
        }
        std::erase_if(commands_, [](const Command& command) { return command.program.empty(); });
        for (std::size_t i = 0; i < commands_.size(); ++i) {
            known_.push_back(patiently([&] { return firstRun(commands_[i]); }));
            const Known& known = known_.back();
            std::printf("%-40s %6llu allocations; exit status %d\n", nameOf(commands_[i]).c_str(), sumOf(known.calls),
                        known.result.exitStatus);
            for (std::size_t point = 0; point < faultPointCount(); ++point) {
                add({i, true, {false, point, 1, 1}, known.calls[point]});
            }
        }
        order();
        std::printf("%llu cases for %zu pairs of path and function\n", static_cast<unsigned long long>(cases_),
                    groups_.size());
    }

    std::uint64_t caseCount() const override { return cases_; }

    void runCase(std::uint64_t number, Report& report) override {
        const auto [group, faults] = placeOf(number);
        if (group.isCommand) {
            runCommand(group.target, faults, report);
        } else {
            tryFaults(scene_, paths_[group.target], faults, report);
        }
    }

    Files filesOf(std::uint64_t number) override {
        const auto [group, faults] = placeOf(number);
        return {{"fault", testkit::bytesOf(nameOf(group) + ": " + faults.text(faults.first) + "\n")}};
    }

private:
    // Of malloc and its relatives, which have the first numbers.
    static unsigned long long sumOf(const std::vector<std::uint64_t>& calls) {
        return calls[0] + calls[1] + calls[2] + calls[3] + calls[4];
    }

    static std::string nameOf(const Command& command) {
        return std::filesystem::path(command.program).filename().string() + ' ' + command.name;
    }

    std::string nameOf(const Group& group) const {
        return group.isCommand ? nameOf(commands_[group.target]) : paths_[group.target].name;
    }

    void add(const Group& group) {
        const std::string name =
            nameOf(group) + ": " + faultPointName(group.faults.point) + (group.faults.isWarm ? ", warm" : ", cold");
        if (group.numCases > 0 && ::fnmatch(chosen_, name.c_str(), FNM_EXTMATCH) == 0) {
            cases_ += group.numCases;
            groups_.push_back(group);
        }
    }

    // One case of each group comes before the second of any, so that a part of the cases reaches every function on
    // every path.
    void order() {
        std::stable_sort(groups_.begin(), groups_.end(),
                         [](const Group& a, const Group& b) { return a.numCases < b.numCases; });
    }

    struct Place {
        const Group& group;
        Faults faults;
    };

    Place placeOf(std::uint64_t number) const {
        std::uint64_t round = 0;
        for (std::size_t left = 0; left < groups_.size(); ++left) {  // groups before `left` have no more cases
            const std::uint64_t width = groups_.size() - left;
            const std::uint64_t cases = (groups_[left].numCases - round) * width;
            if (number >= cases) {
                number -= cases;
                round = groups_[left].numCases;
                continue;
            }
            const Group& group = groups_[left + number % width];
            const std::uint64_t inGroup = scattered(round + number / width, group.numCases);
            Faults faults = group.faults;
            faults.first += inGroup * faults.number;
            return {group, faults};
        }
        throw std::out_of_range("no such case");
    }

    // Another order of the numbers below `count`.
    static std::uint64_t scattered(std::uint64_t number, std::uint64_t count) {
        constexpr std::uint64_t kStep = 1000003;  // a prime larger than any count
        return number * kStep % count;
    }

    testkit::ProcessResult runProgram(const Command& command, const Machine& machine,
                                      const std::vector<std::string>& environment) const {
        std::vector<std::string> arguments = {command.program};
        const std::vector<std::string> more = command.arguments(machine);
        arguments.insert(arguments.end(), more.begin(), more.end());
        testkit::ProcessResult result = testkit::run(arguments, kLimitMs, environment);
        const std::string folder = machine.folder.path().string();  // another one in each run
        for (std::size_t at = 0; (at = result.out.find(folder, at)) != std::string::npos;) {
            result.out.replace(at, folder.size(), "FOLDER");
        }
        return result;
    }

    static std::vector<std::string> preloaded() {
        return {"LD_PRELOAD=" FAULT_POINTS_LIBRARY, "ASAN_OPTIONS=verify_asan_link_order=0"};
    }

    Known firstRun(const Command& command) const {
        Machine machine;
        machine.settings = scene_.makeMachine(machine.folder);
        const std::string counts = machine.folder.write("counts", Bytes(sizeof(FaultState), 0));
        std::vector<std::string> environment = preloaded();
        environment.push_back("TALLOW_FAULT_COUNTS=" + counts);
        Known known{runProgram(command, machine, environment), {}};
        const Bytes content = testkit::readFile(counts);
        const auto* const calls = reinterpret_cast<const std::uint64_t*>(content.data());
        known.calls.assign(calls, calls + faultPointCount());
        if (known.result.exitStatus < 0 || known.result.exitStatus > 2) {
            throw std::runtime_error(nameOf(command) + " fails without a fault: " + known.result.err);
        }
        return known;
    }

    void runCommand(std::size_t index, const Faults& faults, Report& report) const {
        const Command& command = commands_[index];
        const testkit::ProcessResult& expected = known_[index].result;
        Machine machine;
        machine.settings = scene_.makeMachine(machine.folder);
        const std::string fault = std::string(faultPointName(faults.point)) + ':' + std::to_string(faults.first);
        std::vector<std::string> environment = preloaded();
        environment.push_back("TALLOW_FAULT=" + fault);
        const testkit::ProcessResult result = runProgram(command, machine, environment);
        const auto fail = [&](const std::string& what) {
            std::string line = "LD_PRELOAD=" FAULT_POINTS_LIBRARY " TALLOW_FAULT_TRACE=1 TALLOW_FAULT=" + fault + " " +
                               command.program;
            for (const std::string& argument : command.arguments(machine)) {
                line += " " + argument;
            }
            report.finding(nameOf(command) + ": " + what + ": " + fault, {{"command", testkit::bytesOf(line + "\n")},
                                                                          {"out", testkit::bytesOf(result.out)},
                                                                          {"err", testkit::bytesOf(result.err)}});
        };
        const int status = result.exitStatus;
        const bool isSame = status == expected.exitStatus;
        const std::vector<int>& failures = command.failures;
        report.count(isSame ? "command: as without the fault" : "command: exit status " + std::to_string(status));
        const bool isFailure = std::find(failures.begin(), failures.end(), status) != failures.end();
        if (!isSame && !isFailure && !isEndedByLinker(result)) {
            fail("exit status " + std::to_string(status) + " instead of " + std::to_string(expected.exitStatus));
        }
        const std::string function = faultPointName(faults.point);
        const bool isWriteFault = function.find("write") != std::string::npos || function == "fflush";
        if (!isSame && result.err.empty() && !isWriteFault) {
            fail("no message");
        }
        // A certificate that is revoked stays so when nothing can be printed. A line may say what is missing.
        if (isSame && command.isRepeatable && !(isWriteFault && status == 1) && result.out != expected.out &&
            result.err == expected.err) {
            fail("other output");
        }
        const bool hasOutput = !command.output.empty() && std::filesystem::exists(machine.folder.file(command.output));
        if (status == 0 && !command.output.empty() && !hasOutput) {
            fail("no output file");
        } else if (status != 0 && hasOutput && !command.keepsRefused && !isWriteFault) {
            fail("an output file");
        }
        // Nothing is left behind that changes a later run, but what store add and remove do once.
        const int again = runProgram(command, machine, {}).exitStatus;
        if (again != expected.exitStatus && command.name != "store remove") {
            fail("exit status " + std::to_string(again) + " of the next run");
        }
    }

    static const char* choice() {
        const char* const chosen = std::getenv("TALLOW_FAULT_ONLY");
        return chosen == nullptr ? "*" : chosen;
    }

    std::string program_;
    const char* chosen_ = choice();
    Scene scene_;
    std::vector<Path> paths_;
    std::vector<Command> commands_;
    std::vector<Known> known_;
    std::vector<Group> groups_;
    std::uint64_t cases_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    return runPart("environment", argc, argv,
                   [](const Options& options) { return std::make_unique<Environment>(options); });
}
