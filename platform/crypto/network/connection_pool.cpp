#include "platform/crypto/network/connection_pool.h"

#include <algorithm>
#include <iterator>
#include <utility>

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

void ConnectionPool::keep(std::string key, std::unique_ptr<Connection> connection) noexcept {
    Idle closing;
    const std::scoped_lock lock(mutex_);
    const auto hasKey = [&key](const Idle& idle) { return idle.key == key; };
    const auto numForKey = static_cast<std::size_t>(std::count_if(idle_.begin(), idle_.end(), hasKey));
    const bool isKeyFull = numForKey >= kMaxIdleForKey;
    if (isKeyFull || idle_.size() >= kMaxIdle) {
        const auto oldest = isKeyFull ? std::find_if(idle_.begin(), idle_.end(), hasKey) : idle_.begin();
        closing = std::move(*oldest);
        idle_.erase(oldest);
    }
    idle_.push_back({std::move(key), std::move(connection), Connection::Clock::now()});
}

}  // namespace tallow::platform
