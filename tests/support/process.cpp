#include "tests/support/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

#include "tests/support/temp_dir.h"

extern char** environ;  // NOLINT: the C library's name

namespace testkit {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPollInterval = std::chrono::milliseconds(5);

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (const std::string& text : texts) {
        result.push_back(const_cast<char*>(text.c_str()));
    }
    result.push_back(nullptr);
    return result;
}

// The added ones first: the C library uses the first entry of a name.
std::vector<std::string> mergedEnvironment(const std::vector<std::string>& added) {
    std::vector<std::string> all = added;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        all.emplace_back(*entry);
    }
    return all;
}

pid_t spawn(const std::vector<std::string>& arguments, const std::string& outPath, const std::string& errPath,
            const std::vector<std::string>& environment) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int kFlags = O_WRONLY | O_CREAT | O_APPEND;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), kFlags, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), kFlags, 0600);
    // A new process group, so that children of the program are ended with it.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    const std::vector<std::string> merged = mergedEnvironment(environment);
    pid_t pid = -1;
    const int error = posix_spawnp(&pid, arguments.at(0).c_str(), &actions, &attributes, pointers(arguments).data(),
                                   pointers(merged).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + arguments.at(0));
    }
    return pid;
}

// The exit status, or -1 when the process still runs at the deadline.
int waitFor(pid_t pid, Clock::time_point deadline) {
    int status = 0;
    while (::waitpid(pid, &status, WNOHANG) == 0) {
        if (Clock::now() > deadline) {
            return -1;
        }
        std::this_thread::sleep_for(kPollInterval);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void kill(pid_t pid) {
    ::kill(-pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
}

std::string textOf(const std::string& path) {
    if (!std::filesystem::exists(path)) {
        return {};
    }
    const Bytes bytes = readFile(path);
    return {bytes.begin(), bytes.end()};
}

// The system kills the process when the test program ends, even when that was killed.
std::vector<std::string> dyingWithUs(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"setpriv", "--pdeathsig", "KILL"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}

}  // namespace

bool isTrueInChild(const std::function<bool()>& isTrue) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(30);
        ::_exit(isTrue() ? 0 : 1);
    }
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

std::vector<std::string> clockEnvironment(const std::string& clock) {
    return {"LD_PRELOAD=/usr/$LIB/faketime/libfaketime.so.1", "FAKETIME=" + clock, "TZ=UTC"};
}

ProcessResult run(const std::vector<std::string>& arguments, int timeoutMs,
                  const std::vector<std::string>& environment) {
    const TempDir dir;
    const pid_t pid = spawn(arguments, dir.file("out"), dir.file("err"), environment);
    ProcessResult result;
    result.exitStatus = waitFor(pid, Clock::now() + std::chrono::milliseconds(timeoutMs));
    if (result.exitStatus == -1) {
        kill(pid);
    }
    result.out = textOf(dir.file("out"));
    result.err = textOf(dir.file("err"));
    return result;
}

BackgroundProcess::BackgroundProcess(const std::vector<std::string>& arguments, std::string outputPath,
                                     const std::vector<std::string>& environment)
    : pid_(spawn(dyingWithUs(arguments), outputPath, outputPath, environment)), outputPath_(std::move(outputPath)) {}

BackgroundProcess::~BackgroundProcess() {
    stop();
}

std::string BackgroundProcess::waitForOutput(const std::string& text, int timeoutMs) const {
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    std::string output = textOf(outputPath_);
    while (output.find(text) == std::string::npos) {
        if (Clock::now() > deadline) {
            std::string message = "not in time: ";
            message.append(text).append("; output so far: ").append(output);
            throw std::runtime_error(message);
        }
        std::this_thread::sleep_for(kPollInterval);
        output = textOf(outputPath_);
    }
    return output;
}

void BackgroundProcess::stop() {
    if (pid_ > 0) {
        kill(pid_);
        pid_ = -1;
    }
}

}  // namespace testkit
