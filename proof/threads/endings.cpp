// Processes that are copied or end while their threads are in the middle of checks.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <random>

#include "checker/checker.h"
#include "platform/support/support_service.h"
#include "proof/environment/paths.h"
#include "proof/threads/late_end.h"
#include "proof/threads/on_threads.h"
#include "proof/threads/scenarios.h"

namespace proof {

namespace {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
// There a child may wait for ever: for the allocator of the sanitizer, which another thread had locked, or in the
// pthread_once of ThreadSanitizer, which does not begin again in a child as that of the C library does.
constexpr unsigned kSecondsOfChild = 10;
#else
constexpr unsigned kSecondsOfChild = 0;  // no limit but that of the case
#endif

constexpr int kChildren = 12;

tallow::Verdict checkOnce(const Scene& scene, const tallow::Checker& checker) {
    return checker.check(scene.good.certificate, scene.ca.certificate);
}

tallow::Checker checkerOf(const Scene& scene) {
    tallow::Trust trust;
    trust.addRoots(scene.root.certificate).addCrls(scene.rootCrl).addCrls(scene.caCrl);
    return tallow::Checker(
        trust, {.timeout = std::chrono::seconds(30), .responders = {scene.responderUrl()}, .downloads = false});
}

// Its threads check until an exit handler ends them.
struct Pool {
    explicit Pool(const Scene& scene) : checker(checkerOf(scene)) {
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([this, &scene] {
                while (!isOver) {
                    const tallow::Verdict verdict = checkOnce(scene, checker);
                    if (verdict.answer != tallow::Answer::kGood) {
                        failures += wrong("a check", verdict.why());
                    }
                }
            });
        }
    }

    const tallow::Checker checker;
    std::atomic<bool> isOver{false};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
};

Pool* pool = nullptr;

// Among the first handlers that were registered, so one of the last that run.
void endPool() {
    if (pool == nullptr) {
        return;
    }
    ::usleep(100000);
    pool->isOver = true;
    for (std::thread& thread : pool->threads) {
        thread.join();
    }
    if (pool->failures != 0) {
        ::_exit(1);
    }
}

[[gnu::constructor]] void registerEndPool() {
    std::atexit(endPool);
}

}  // namespace

// Children are forked while other threads check, and check themselves.
int forkAmongChecks(const Scene& scene, unsigned) {
    const tallow::Checker checker = checkerOf(scene);
    std::atomic<bool> isOver{false};
    return onThreads(9, [&](int thread) {
        int failures = 0;
        int lost = 0;
        for (int round = 0; thread != 0 && !isOver; ++round) {
            const tallow::Verdict verdict = checkOnce(scene, checker);
            failures += verdict.answer == tallow::Answer::kGood ? 0 : wrong("check", verdict.why());
        }
        for (int round = 0; thread == 0 && round < kChildren; ++round) {
            const pid_t child = ::fork();
            if (child == 0) {
                ::alarm(kSecondsOfChild);
                ::_exit(checkOnce(scene, checker).answer == tallow::Answer::kGood ? 0 : 1);
            }
            int status = -1;
            ::waitpid(child, &status, 0);
            const bool isLost = kSecondsOfChild > 0 && WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM;
            lost += isLost ? 1 : 0;
            failures += status == 0 || isLost ? 0 : wrong("a child", "wait status " + std::to_string(status));
        }
        failures += lost < kChildren ? 0 : wrong("children", "none has ended");
        isOver = isOver || thread == 0;
        return failures;
    });
}

// The process ends by exit, with all destructors, while threads are anywhere in the library. What the threads use of
// this program is never destroyed.
int exitAmongPaths(const Scene& scene, unsigned seed) {
    const std::vector<Path>& paths = *new std::vector<Path>(makePaths(scene));
    Machine& machine = *new Machine;
    machine.settings = scene.makeMachine(machine.folder);
    if (seed % 2 == 0 && support_trace_open(127, machine.folder.file("trace").c_str()) != 0) {
        return wrong("trace", machine.folder.file("trace"));
    }
    for (unsigned i = 0; i < 16; ++i) {
        std::thread([&paths, &machine, choice = seed + i]() mutable {
            for (;; ++choice) {
                try {
                    static_cast<void>(paths[choice % paths.size()].run(machine));
                } catch (...) {  // the files of the machine may be gone by now
                }
            }
        }).detach();
    }
    waitAtEnd(100);
    ::usleep(10000 + 7919 * (seed % 64));
    std::exit(0);
}

// A program may also end its threads in a handler or a destructor: until then their checks give the right answers.
int exitThatWaitsForChecks(const Scene& scene, unsigned seed) {
    pool = new Pool(scene);
    ::usleep(10000 + 7919 * (seed % 64));
    std::exit(0);
}

// The library is loaded, used and unloaded again and again, by a program that is not linked with it.
int reloadLibrary(const Scene& scene, unsigned) {
    ::execl(RELOAD_PROGRAM, RELOAD_PROGRAM, TALLOW_LIBRARY, scene.files().path().c_str(), scene.responderUrl().c_str(),
            static_cast<const char*>(nullptr));
    return wrong(RELOAD_PROGRAM, "does not start");
}

}  // namespace proof
