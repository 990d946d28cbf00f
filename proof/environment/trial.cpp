#include "proof/environment/trial.h"

#include <dirent.h>
#include <execinfo.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>

#include "checker/checker.h"
#include "handles/exception.h"

#ifdef PROOF_SANITIZED
#include <sanitizer/lsan_interface.h>
#endif

namespace proof {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{5};
constexpr int kLeakRuns = 10;  // more than the connections that may stay open

// What the child reports, in memory that it shares with its parent.
struct Shared {
    FaultState state;
    std::uint64_t call;  // the fault in progress
    std::uint64_t calls[2][kMostFaultPoints];
    std::uint64_t same, failed, thrown, notReached;
    Answer answer;
    char text[400];
    char findings[4000];  // lines

    void find(const std::string& line) {
        std::strncat(findings, (line + '\n').c_str(), sizeof findings - std::strlen(findings) - 1);
    }
};

class SharedMemory {
public:
    SharedMemory()
        : memory_(::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (memory_ == MAP_FAILED) {
            throw std::runtime_error("no shared memory");
        }
    }
    ~SharedMemory() { ::munmap(memory_, sizeof(Shared)); }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;
    Shared* operator->() const { return static_cast<Shared*>(memory_); }
    Shared& operator*() const { return *static_cast<Shared*>(memory_); }

private:
    void* memory_;
};

// How a run ended.
struct End {
    PathResult result;
    bool isThrown = false;
    std::string foreign;  // an exception that no document names
};

End takePath(const Path& path, const Machine& machine) {
    try {
        return {path.run(machine), false, {}};
    } catch (const std::bad_alloc&) {
        return {{Answer::kNone, "std::bad_alloc"}, true, {}};
    } catch (const ATL::CAtlException& exception) {
        const bool isFailure = exception.status() != 0;
        return {{Answer::kNone, std::to_string(exception.status())}, true, isFailure ? "" : "CAtlException with 0"};
    } catch (const tallow::BadInput& exception) {
        return {{Answer::kNone, exception.what()}, true, {}};
    } catch (const std::exception& exception) {
        return {{Answer::kNone, exception.what()}, true, exception.what()};
    } catch (...) {
        return {{Answer::kNone, "..."}, true, "not derived from std::exception"};
    }
}

int openDescriptors() {
    int number = 0;
    if (DIR* const directory = ::opendir("/proc/self/fd")) {
        while (::readdir(directory) != nullptr) {
            ++number;
        }
        ::closedir(directory);
    }
    return number;
}

// What a process keeps from run to run.
struct Kept {
    std::int64_t blocks = liveBlocks();
    int descriptors = openDescriptors();
};

class Trial {
public:
    Trial(const Path& path, const Machine& machine, const Faults& faults, Shared& shared)
        : path_(path), machine_(machine), faults_(faults), shared_(shared) {}

    void run() {
        for (int i = 0; faults_.isWarm && i < 2; ++i) {
            runWithout("before the fault");
        }
        for (std::uint64_t i = 0; i < faults_.number; ++i) {
            shared_.call = faults_.first + i;
            const Kept before;
            runWith();
            runWithout("after");
            const Kept after;
            if (faults_.isWarm && (after.blocks > before.blocks || after.descriptors > before.descriptors)) {
                lookForLeak();
            }
        }
#ifdef PROOF_SANITIZED
        if (__lsan_do_recoverable_leak_check() != 0) {
            find("a leak");
        }
#endif
    }

private:
    void find(const std::string& what) {
        shared_.find(what + ": " + faults_.text(shared_.call));
    }

    void runWith() {
        armFault(faults_.point, shared_.call);
        const End end = takePath(path_, machine_);
        disarmFault();
        if (!end.foreign.empty()) {
            find("an exception, " + end.foreign);
        }
        if (shared_.state.fired == 0) {
            ++shared_.notReached;
        } else if (end.result.answer == path_.expected) {
            ++shared_.same;
        } else if (end.result.answer == Answer::kNone) {
            ++(end.isThrown ? shared_.thrown : shared_.failed);
            if (end.result.text.empty()) {
                find("no cause");
            }
        } else {
            find("another answer, " + std::to_string(static_cast<int>(end.result.answer)));
        }
    }

    void runWithout(const char* when) {
        armFault(0, 0);
        const auto start = Clock::now();
        End end = takePath(path_, machine_);
        if (end.result.answer != path_.expected && Clock::now() - start > kPatience) {
            end = takePath(path_, machine_);  // the machine is busy
        }
        if (end.result.answer != path_.expected) {
            find(std::string("another answer ") + when + ", " + end.result.text);
        }
    }

    // A cache may grow once; a leak grows with each fault.
    void lookForLeak() {
        const auto growth = [this](bool hasFault) {
            const Kept before;
            for (int i = 0; i < kLeakRuns; ++i) {
                if (hasFault) {
                    runWith();
                }
                runWithout("again");
            }
            const Kept after;
            return std::pair(after.blocks - before.blocks, after.descriptors - before.descriptors);
        };
        const auto usual = growth(false);
        static_cast<void>(growth(true));  // fills what is bounded, such as the open connections
        const auto faulty = growth(true);
        if (faulty.first >= usual.first + kLeakRuns && !shared_.state.isListOfLibcrypto) {
            find("a leak of " + std::to_string((faulty.first - usual.first) / kLeakRuns) + " blocks");
        }
        if (faulty.second >= usual.second + kLeakRuns) {
            find("a leak of a descriptor");
        }
    }

    const Path& path_;
    const Machine& machine_;
    const Faults& faults_;
    Shared& shared_;
};

void traceSignal(int signal) {
    void* frames[48];
    ::backtrace_symbols_fd(frames, ::backtrace(frames, 48), STDERR_FILENO);
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

// Runs `work` in a child; the wait status.
template <typename Work>
int inChild(Shared& shared, const Work& work) {
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::runtime_error("no process");
    }
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const ::rlimit none{0, 0};
        ::setrlimit(RLIMIT_CORE, &none);
        if (std::getenv("TALLOW_FAULT_TRACE") != nullptr) {
            traceFaults(true);
            for (const int signal : {SIGSEGV, SIGBUS, SIGABRT}) {
                ::signal(signal, traceSignal);
            }
        }
        useFaultState(&shared.state);
        work();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}

}  // namespace

std::string Faults::text(std::uint64_t call) const {
    return std::string(faultPointName(point)) + ':' + std::to_string(call) + (isWarm ? ", warm" : ", cold");
}

Calls countCalls(const Scene& scene, const Path& path) {
    const SharedMemory shared;
    Machine machine;
    machine.settings = scene.makeMachine(machine.folder);
    const int status = inChild(*shared, [&] {
        for (int i = 0; i < 4; ++i) {
            armFault(0, 0);
            const End end = takePath(path, machine);
            shared->answer = end.result.answer;
            std::strncpy(shared->text, end.result.text.c_str(), sizeof shared->text - 1);
            std::copy(std::begin(shared->state.calls), std::end(shared->state.calls), shared->calls[i == 0 ? 0 : 1]);
        }
    });
    if (status != 0) {
        throw std::runtime_error(std::string("the path ends its process without a fault: ") + path.name);
    }
    if (shared->answer != path.expected) {
        throw std::runtime_error(std::string(path.name) + " does not give the expected answer: " + shared->text);
    }
    const std::size_t number = faultPointCount();
    return {{shared->calls[0], shared->calls[0] + number},
            {shared->calls[1], shared->calls[1] + number},
            {shared->answer, shared->text}};
}

void tryFaults(const Scene& scene, const Path& path, const Faults& faults, Report& report) {
    const SharedMemory shared;
    Machine machine;
    machine.settings = scene.makeMachine(machine.folder);
    const int status = inChild(*shared, [&] { Trial(path, machine, faults, *shared).run(); });
    const std::string where = std::string(path.name) + ": ";
    report.count("functions: as without the fault", shared->same);
    report.count("functions: a failure is returned", shared->failed);
    report.count("functions: a failure is thrown", shared->thrown);
    report.count("functions: not reached", shared->notReached);
    if (status != 0) {
        report.finding(where + "a crash, wait status " + std::to_string(status) + ": " + faults.text(shared->call), {});
    }
    for (const char* line = shared->findings; *line != '\0';) {
        const char* const end = std::strchr(line, '\n');
        report.finding(where + std::string(line, end), {});
        line = end + 1;
    }
}

}  // namespace proof
