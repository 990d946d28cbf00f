// Lets fork() happen only while no thread is inside a service call, so that the child never inherits a lock, ours or
// OpenSSL's, whose owner does not exist there.
//
// Every exported function that locks or calls OpenSSL holds a gate; gates nest. fork() waits for the threads inside,
// for at most one second, since a thread may be waiting for the one that forks. A call that waits for the network
// leaves the gate meanwhile with ForkGate::Outside. After the second fork() proceeds, and the child must not use the
// services.
#pragma once

#include <pthread.h>

#include <cstdint>

namespace tallow::platform {

class ForkGate {
public:
    ForkGate() noexcept { enterOne(); }
    ~ForkGate() { leaveOne(); }
    ForkGate(const ForkGate&) = delete;
    ForkGate& operator=(const ForkGate&) = delete;

    // While the object lives, the thread counts as being outside all its gates: it holds no lock.
    class Outside {
    public:
        Outside() noexcept : depth_(leaveAll()) {}
        ~Outside() { enterAgain(depth_); }
        Outside(const Outside&) = delete;
        Outside& operator=(const Outside&) = delete;

    private:
        unsigned int depth_;
    };

    // What the object does.
    static void enterOne() noexcept;
    static void leaveOne() noexcept;
    // The two steps of Outside, for code in another library. The first returns how many gates the thread was inside of.
    static unsigned int leaveAll() noexcept;
    static void enterAgain(unsigned int numGates) noexcept;

    // Another number in each child of fork than in its parent, and never 0. Process ids do not tell them apart: those
    // of another PID namespace may be the same.
    static std::uint32_t generation() noexcept;
    // In a child of fork, the thread that forked: no other one goes on.
    static pthread_t survivor() noexcept;
};

}  // namespace tallow::platform
