#include "proof/common/workers.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <thread>

#include "proof/common/process_tree.h"

namespace proof {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPause = std::chrono::milliseconds(50);
constexpr std::uint64_t kMostFindings = 1000;  // then the run ends: more would only fill the disk

struct Worker {
    pid_t pid = -1;
    std::uint64_t seenCase = Tally::kIdle;
    Clock::time_point since;
    std::chrono::milliseconds usedBefore{0};  // processor time, at that time
    Clock::time_point lookAgain;              // at the processor time
};

// A case is stuck after its time on a processor, or when it sleeps: on a busy machine it may wait long for a processor.
bool isStuck(Worker& worker, std::chrono::seconds longest) {
    constexpr int kPatience = 5;
    const Clock::time_point now = Clock::now();
    if (now < worker.lookAgain) {
        return false;
    }
    worker.lookAgain = now + std::chrono::seconds(1);
    return now - worker.since > kPatience * longest || processorTimeOfTree(worker.pid) - worker.usedBefore > longest;
}

[[noreturn]] void work(Part& part, const Plan& plan, Tally& tally, SharedReport& report, unsigned index,
                       Clock::time_point end) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (std::uint64_t i = tally.takeCase(); i < plan.cases; i = tally.takeCase()) {
        if ((plan.seconds > 0 && Clock::now() >= end) || tally.findings() >= kMostFindings) {
            break;
        }
        const std::uint64_t number = i * plan.stride + plan.first;
        tally.current(index) = number;
        report.startCase(number);
        try {
            part.runCase(number, report);
        } catch (const std::exception& failure) {
            report.finding(std::string("an exception: ") + failure.what(), part.filesOf(number));
        } catch (...) {
            report.finding("an exception that is not derived from std::exception", part.filesOf(number));
        }
        tally.endCase(index);
    }
    std::fflush(nullptr);
    ::_exit(0);
}

std::string causeOf(int waited) {
    return WIFSIGNALED(waited) ? "a crash: signal " + std::to_string(WTERMSIG(waited))
                               : "a crash: exit status " + std::to_string(WEXITSTATUS(waited));
}

}  // namespace

void SharedReport::finding(const std::string& text, const Files& files) {
    const std::uint64_t number = tally_.takeFinding();
    const std::filesystem::path folder =
        std::filesystem::path(options_.findings) / (name_ + "-" + std::to_string(number + 1));
    std::filesystem::create_directories(folder);
    for (const auto& [name, content] : files) {
        std::ofstream(folder / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    }
    std::ofstream(folder / "README") << text << "\n\ncase " << case_ << ", seed " << options_.seed << "\n";
    std::printf("finding %s: %s\n", folder.c_str(), text.c_str());
    std::fflush(stdout);
}

void runInWorkers(Part& part, const Plan& plan, const Options& options, Tally& tally, SharedReport& report) {
    const auto end =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(plan.seconds));
    std::vector<Worker> workers(options.jobs);
    std::fflush(nullptr);
    const auto start = [&](unsigned index) {
        workers[index] = {::fork(), Tally::kIdle, {}, {}, {}};
        if (workers[index].pid == 0) {
            work(part, plan, tally, report, index, end);
        }
    };
    for (unsigned i = 0; i < options.jobs; ++i) {
        start(i);
    }
    for (std::size_t running = workers.size(); running > 0;) {
        std::this_thread::sleep_for(kPause);
        for (unsigned i = 0; i < workers.size(); ++i) {
            Worker& worker = workers[i];
            if (worker.pid < 0) {
                continue;
            }
            const std::uint64_t current = tally.current(i);
            if (current != worker.seenCase) {
                worker.seenCase = current;
                worker.since = Clock::now();
                worker.lookAgain = worker.since + part.longestCase();
                worker.usedBefore = processorTimeOf(worker.pid);
            }
            const bool hasEnd = current == Tally::kIdle || !isStuck(worker, part.longestCase());
            if (!hasEnd) {
                killTree(worker.pid);
            }
            int waited = 0;
            if (::waitpid(worker.pid, &waited, hasEnd ? WNOHANG : 0) != worker.pid) {
                continue;
            }
            worker.pid = -1;
            --running;
            if (const std::uint64_t lost = tally.current(i); lost != Tally::kIdle || waited != 0) {
                report.startCase(lost);
                report.finding(hasEnd ? causeOf(waited) : "a case that does not end",
                               lost == Tally::kIdle ? Files() : part.filesOf(lost));
                tally.endCase(i);
                if (tally.findings() < kMostFindings) {
                    start(i);
                    ++running;
                }
            }
        }
    }
}

}  // namespace proof
