// The server that holds the queue of a fleet: commands to it, repeated until it carries them out. Each reply has a
// limit, since a hostile server could make every connection cost that much.
//
// A lost server is reported in one line, once until it is back. A command that was repeated may have been carried out
// twice; all commands of the fleet allow for that.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "cli/options.h"
#include "platform/crypto/redis_service.h"

namespace tallow::cli {

/// What the server sent is not trusted: any member may be missing or of another kind.
struct QueueReply {
    DWORD kind = CRYPTO_REDIS_NOTHING;
    std::string text;
    long long number = 0;
    std::vector<QueueReply> parts = {};
    bool isTooLarge = false;  // nothing else of it is known

    /// Part `index`, or an empty reply.
    const QueueReply& at(std::size_t index) const;
};

class QueueServer {
public:
    using Words = std::vector<std::string>;
    /// Whether to give up a command that was not carried out for this long; milliseconds::max() when it will not be,
    /// because a login or a right is missing.
    using Patience = std::function<bool(std::chrono::milliseconds lost)>;

    /// What a command may cost.
    struct Bounds {
        std::size_t largestReply = 4096;  // in octets of the protocol: room for a number, a status or an error
        unsigned waitMs = 0;              // how long the server itself may take
        bool returnsTooLarge = false;     // a larger reply is returned as such; else the server is at fault
    };

    /// Throws InputError for an address or a file that cannot be used.
    explicit QueueServer(const QueueOptions& options);

    /// The reply. While there is none, or an error, tries again with pauses that grow to 30 s, until `givesUp`: nothing
    /// then. On any thread.
    std::optional<QueueReply> ask(const Words& words, const Patience& givesUp, const Bounds& bounds);

    /// Since when it has answered without interruption; at first, since the object was made. On any thread.
    std::chrono::steady_clock::time_point answeringSince();

private:
    struct Close {
        void operator()(CRYPTO_REDIS* redis) const noexcept { crypto_redis_close(redis); }
    };
    using Handle = std::unique_ptr<CRYPTO_REDIS, Close>;

    Handle take();
    std::optional<QueueReply> askOnce(const Words& words, const Bounds& bounds, std::string& fault);
    void noteLost(const std::string& fault, bool isFinal);
    void noteBack();

    const QueueOptions options_;
    std::mutex mutex_;
    std::vector<Handle> idle_;
    bool isLost_ = false;
    std::chrono::steady_clock::time_point answeringSince_ = std::chrono::steady_clock::now();
};

/// For commands that give up after this time.
QueueServer::Patience patienceOf(std::chrono::seconds time);

}  // namespace tallow::cli
