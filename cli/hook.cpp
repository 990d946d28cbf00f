#include "cli/hook.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

#include "cli/interruption.h"

extern char** environ;  // NOLINT: the C library's name

namespace tallow::cli {

namespace {

constexpr std::chrono::milliseconds kLongestPause{50};
constexpr std::chrono::seconds kGrace{2};  // to end by itself after SIGTERM

// How the child begins: no input, output on standard error, the usual effect of SIGPIPE, which this process ignores,
// and a process group of its own, so that everything it starts can be ended. That group is in the background of a
// terminal, where SIGTTOU must not stop it when it writes.
class Start {
public:
    Start() {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
        sigset_t usual;
        ::sigemptyset(&usual);
        ::sigaddset(&usual, SIGPIPE);
        sigset_t blocked;
        ::sigemptyset(&blocked);
        ::sigaddset(&blocked, SIGTTOU);
        isReady = ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0 &&
                  ::posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO) == 0 &&
                  ::posix_spawnattr_setsigdefault(&attributes, &usual) == 0 &&
                  ::posix_spawnattr_setsigmask(&attributes, &blocked) == 0 &&
                  ::posix_spawnattr_setpgroup(&attributes, 0) == 0 &&
                  ::posix_spawnattr_setflags(
                      &attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP) == 0;
    }
    ~Start() {
        ::posix_spawnattr_destroy(&attributes);
        ::posix_spawn_file_actions_destroy(&actions);
    }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
    bool isReady = false;
};

}  // namespace

std::string runHook(const std::string& command, const std::vector<std::string>& arguments, std::chrono::seconds limit) {
    std::vector<std::string> all{"sh", "-c", command, "tallow-hook"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(all.size() + 1);
    for (std::string& argument : all) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const Start start;
    pid_t child = -1;
    const int error =
        start.isReady ? ::posix_spawn(&child, "/bin/sh", &start.actions, &start.attributes, pointers.data(), environ)
                      : ENOMEM;
    if (error != 0) {
        return std::string("cannot be started: ") + std::strerror(error);
    }
    endWithProcess(child);
    int status = 0;
    bool isLate = false;
    bool hasEnded = false;
    const auto begin = std::chrono::steady_clock::now();
    for (std::chrono::milliseconds pause{1};; pause = std::min(pause * 2, kLongestPause)) {
        if (const pid_t ended = hasEnded ? 0 : ::waitpid(child, &status, WNOHANG); ended != 0) {
            hasEnded = ended == child;
            if (!hasEnded && errno != EINTR) {
                endWithProcess(0);
                return std::string("cannot be waited for: ") + std::strerror(errno);
            }
        }
        // What the command left in the background stays, unless it was stopped.
        const auto elapsed = std::chrono::steady_clock::now() - begin;
        if (hasEnded && (!isLate || ::kill(-child, 0) != 0 || elapsed > limit + 2 * kGrace)) {
            break;
        }
        if (elapsed > limit) {
            ::kill(-child, elapsed > limit + kGrace ? SIGKILL : SIGTERM);
            isLate = true;
        }
        std::this_thread::sleep_for(pause);
    }
    endWithProcess(0);
    if (isLate) {
        return "did not end within " + std::to_string(limit.count()) + " s and was stopped";
    }
    if (WIFSIGNALED(status)) {
        return "ended by signal " + std::to_string(WTERMSIG(status));
    }
    return WEXITSTATUS(status) == 0 ? std::string() : "exit status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace tallow::cli
