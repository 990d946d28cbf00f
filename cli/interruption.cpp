#include "cli/interruption.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace tallow::cli {

namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

// The paths that a signal handler removes. A check has at most four files open at a time; without a free slot a file
// is removed only by its destructor.
struct Slot {
    std::atomic<bool> isUsed{false};
    char path[PATH_MAX] = {};
};
constexpr int kNumSlots = 4;
Slot slots[kNumSlots];             // NOLINT: a handler reaches only global objects
std::atomic<pid_t> groupToEnd{0};  // NOLINT

std::atomic<bool> isNoting{false};  // NOLINT
std::atomic<int> firstSignal{0};    // NOLINT

[[noreturn]] void endAtOnce(int signal) {
    constexpr int kExitOfSignals = 128;
    for (const Slot& slot : slots) {
        if (slot.isUsed.load()) {
            ::unlink(slot.path);
        }
    }
    if (const pid_t group = groupToEnd.load(); group != 0) {
        ::kill(-group, SIGTERM);
    }
    ::_exit(kExitOfSignals + signal);
}

extern "C" void onSignal(int signal) {
    int none = 0;
    if (!isNoting.load() || !firstSignal.compare_exchange_strong(none, signal)) {
        endAtOnce(signal);
    }
}

// Delays the signals while a file exists that no slot names. Made before other threads are started.
class SignalsDelayed {
public:
    SignalsDelayed() {
        sigset_t all;
        ::sigemptyset(&all);
        for (const int signal : kEndingSignals) {
            ::sigaddset(&all, signal);
        }
        ::pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsDelayed() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsDelayed(const SignalsDelayed&) = delete;
    SignalsDelayed& operator=(const SignalsDelayed&) = delete;

private:
    sigset_t before_{};
};

int slotFor(const std::string& path) {
    for (int i = 0; i < kNumSlots && path.size() < PATH_MAX; ++i) {
        if (!slots[i].isUsed.load()) {
            path.copy(slots[i].path, path.size());
            slots[i].path[path.size()] = '\0';
            slots[i].isUsed.store(true);
            return i;
        }
    }
    return -1;
}

}  // namespace

void endOnSignals() {
    ::signal(SIGPIPE, SIG_IGN);
    for (const int signal : kEndingSignals) {
        struct sigaction action {};
        ::sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {  // a shell ignores SIGINT for jobs in the background
            action = {};
            action.sa_handler = onSignal;
            ::sigaction(signal, &action, nullptr);
        }
    }
}

NotedSignals::NotedSignals() {
    isNoting.store(true);
}

NotedSignals::~NotedSignals() {
    isNoting.store(false);
    if (const int signal = first(); signal != 0) {
        endAtOnce(signal);
    }
}

int NotedSignals::first() {
    return firstSignal.load();
}

void endBySignal(int signal) {
    endAtOnce(signal);
}

void endWithProcess(pid_t group) {
    groupToEnd.store(group);
}

TemporaryFile::TemporaryFile(const std::string& directory) : path_(directory + "/.tallow-XXXXXX") {
    const SignalsDelayed delayed;
    descriptor_ = ::mkostemp(path_.data(), O_CLOEXEC);
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category());
    }
    slot_ = slotFor(path_);
}

TemporaryFile::~TemporaryFile() {
    if (!path_.empty()) {
        ::unlink(path_.c_str());
    }
    if (slot_ >= 0) {
        slots[slot_].isUsed.store(false);
    }
    ::close(descriptor_);
}

bool TemporaryFile::replace(const std::string& target) {
    if (::rename(path_.c_str(), target.c_str()) != 0) {
        return false;
    }
    path_.clear();
    return true;
}

}  // namespace tallow::cli
