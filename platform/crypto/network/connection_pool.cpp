#include "platform/crypto/network/connection_pool.h"

#include <pthread.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <iterator>
#include <utility>

#include "platform/support/fork_gate.h"

namespace tallow::platform {

ConnectionPool& ConnectionPool::ofProcess() {
    static ConnectionPool* const pool = new ConnectionPool;
    return *pool;
}

void ConnectionPool::removeOver(std::chrono::milliseconds maxIdle, IdleList& closing) {
    const Connection::Clock::time_point now = Connection::Clock::now();
    const auto over = std::stable_partition(idle_.begin(), idle_.end(), [&](const Idle& idle) {
        return idle.connection->isOwn() && now - idle.since < maxIdle &&
               now - idle.connection->openedAt() < kLongestLife;
    });
    closing.insert(closing.end(), std::move_iterator(over), std::move_iterator(idle_.end()));
    idle_.erase(over, idle_.end());
}

std::unique_ptr<Connection> ConnectionPool::take(const std::string& key, const Reach& reach,
                                                 std::chrono::milliseconds maxIdle) {
    Connection::closeCopies();
    IdleList closing;
    const std::scoped_lock lock(mutex_);
    closing.reserve(idle_.size());
    removeOver(maxIdle, closing);
    const auto fits = [&](const Idle& idle) { return idle.key == key && !reach.refuses(idle.connection->peerClass()); };
    for (;;) {
        const auto newest = std::find_if(idle_.rbegin(), idle_.rend(), fits);
        if (newest == idle_.rend()) {
            return nullptr;
        }
        Idle found = std::move(*newest);
        idle_.erase(std::next(newest).base());
        if (found.connection->isQuiet()) {
            return std::move(found.connection);
        }
        closing.push_back(std::move(found));
    }
}

bool ConnectionPool::closeAll() {
    IdleList closing;
    const std::scoped_lock lock(mutex_);
    closing.reserve(idle_.size());
    removeOver(std::chrono::milliseconds(0), closing);
    return !closing.empty();
}

void ConnectionPool::noteSilence(const std::string& key) {
    const std::scoped_lock lock(mutex_);
    if (silent_.size() >= kMaxSilent) {
        silent_.erase(silent_.begin());
    }
    silent_.push_back(key);
}

bool ConnectionPool::mayKeep(const std::string& key) noexcept {
    return std::find(silent_.begin(), silent_.end(), key) == silent_.end() &&
           (ending_ == ForkGate::generation() || startEnding());
}

// With a small stack, since it makes only system calls, and without signals, which are for the program's threads.
bool ConnectionPool::startEnding() noexcept {
    constexpr std::size_t kSizeStack = 128 * 1024;
    pthread_attr_t attributes;
    if (::pthread_attr_init(&attributes) != 0) {
        return false;
    }
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    pthread_t thread{};
    bool isStarted = ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED) == 0 &&
                     ::pthread_attr_setstacksize(&attributes, kSizeStack) == 0 &&
                     ::pthread_sigmask(SIG_SETMASK, &all, &before) == 0;
    if (isStarted) {
        isStarted = ::pthread_create(&thread, &attributes, endIdle, this) == 0;
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    ::pthread_attr_destroy(&attributes);
    ending_ = isStarted ? ForkGate::generation() : 0;
    return isStarted;
}

// It neither waits for a condition, which would not survive a fork, nor frees a connection, since the process may be
// ending: an exchange does that later.
void* ConnectionPool::endIdle(void* pool) noexcept {
    constexpr timespec kPause{0, 50'000'000};
    bool isNeeded = true;
    while (isNeeded) {
        ::nanosleep(&kPause, nullptr);
        ForkGate::enterAgain(1);
        isNeeded = static_cast<ConnectionPool*>(pool)->endThoseOver();
        static_cast<void>(ForkGate::leaveAll());
    }
    return nullptr;
}

bool ConnectionPool::endThoseOver() noexcept {
    const Connection::Clock::time_point now = Connection::Clock::now();
    const std::scoped_lock lock(mutex_);
    bool isAnyLeft = false;
    for (Idle& idle : idle_) {
        if (idle.connection->isOwn() && idle.end <= now) {
            idle.connection->hangUp();
        } else {
            isAnyLeft |= idle.connection->isOwn();
        }
    }
    ending_ = isAnyLeft ? ending_ : 0;
    return isAnyLeft;
}

void ConnectionPool::keep(std::string key, std::unique_ptr<Connection> connection,
                          std::chrono::milliseconds maxIdle) noexcept {
    Idle closing;
    const std::scoped_lock lock(mutex_);
    if (!mayKeep(key)) {
        closing.connection = std::move(connection);
        return;
    }
    const auto hasKey = [&key](const Idle& idle) { return idle.key == key; };
    const auto numForKey = static_cast<std::size_t>(std::count_if(idle_.begin(), idle_.end(), hasKey));
    const bool isKeyFull = numForKey >= kMaxIdleForKey;
    if (isKeyFull || idle_.size() >= kMaxIdle) {
        const auto oldest = isKeyFull ? std::find_if(idle_.begin(), idle_.end(), hasKey) : idle_.begin();
        closing = std::move(*oldest);
        idle_.erase(oldest);
    }
    const Connection::Clock::time_point now = Connection::Clock::now();
    const Connection::Clock::time_point end = std::min(now + maxIdle, connection->openedAt() + kLongestLife);
    idle_.push_back({std::move(key), std::move(connection), now, end});
}

}  // namespace tallow::platform
