// Lets a thread write to a connection that its peer has closed without SIGPIPE, and without a change of the process:
// the signal goes to the thread that writes, which blocks it meanwhile and takes it back. OpenSSL has no other way. One
// that another process sends meanwhile arrives afterwards.
#pragma once

#include <unistd.h>

#include <csignal>
#include <ctime>

namespace tallow::platform {

class BrokenPipeGuard {
public:
    BrokenPipeGuard() noexcept {
        ::sigemptyset(&pipe_);
        ::sigaddset(&pipe_, SIGPIPE);
        sigset_t pending;
        // One that waits already is the program's.
        const bool isPending = ::sigpending(&pending) != 0 || ::sigismember(&pending, SIGPIPE) != 0;
        isBlocking_ = !isPending && ::pthread_sigmask(SIG_BLOCK, &pipe_, &before_) == 0;
    }
    ~BrokenPipeGuard() {
        if (isBlocking_) {
            constexpr timespec kNow{};
            siginfo_t found{};
            bool isForeign = false;
            while (::sigtimedwait(&pipe_, &found, &kNow) == SIGPIPE) {
                isForeign |= found.si_code <= 0 && found.si_pid != ::getpid();
            }
            ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
            if (isForeign) {
                ::kill(::getpid(), SIGPIPE);
            }
        }
    }
    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

private:
    sigset_t pipe_{};
    sigset_t before_{};
    bool isBlocking_ = false;
};

}  // namespace tallow::platform
