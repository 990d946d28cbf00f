#include "cli/server/name_lookup.h"

#include <netdb.h>

#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>

#include "cli/server/server_failure.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

constexpr std::size_t kMostAddresses = 16;

// Shared with the thread that looks up, which may end after the deadline. Has room for everything from the start:
// there, nothing may be thrown.
struct Lookup {
    explicit Lookup(const ServerAddress& server)
        : host(server.host), port(std::to_string(server.port)), isNumeric(server.isNumeric) {}

    const std::string host, port;
    const bool isNumeric;
    std::mutex mutex;
    std::condition_variable done;
    bool isDone = false;
    std::array<SocketAddress, kMostAddresses> found;
    std::size_t numFound = 0;
    int error = 0;
    int systemError = 0;
};

void run(Lookup& lookup) noexcept {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | (lookup.isNumeric ? AI_NUMERICHOST : 0);
    addrinfo* list = nullptr;
    const int error = ::getaddrinfo(lookup.host.c_str(), lookup.port.c_str(), &hints, &list);
    const int systemError = errno;
    const std::lock_guard lock(lookup.mutex);
    for (const addrinfo* next = list; next != nullptr && lookup.numFound < kMostAddresses; next = next->ai_next) {
        SocketAddress& address = lookup.found[lookup.numFound++];
        std::memcpy(&address.address, next->ai_addr, next->ai_addrlen);
        address.size = next->ai_addrlen;
    }
    if (list != nullptr) {
        ::freeaddrinfo(list);
    }
    lookup.error = error;
    lookup.systemError = systemError;
    lookup.isDone = true;
    lookup.done.notify_one();
}

std::string reasonOf(const Lookup& lookup) {
    return lookup.error == EAI_SYSTEM ? std::strerror(lookup.systemError) : ::gai_strerror(lookup.error);
}

}  // namespace

std::string SocketAddress::text() const {
    char host[NI_MAXHOST];
    const int error =
        ::getnameinfo(reinterpret_cast<const sockaddr*>(&address), size, host, sizeof host, nullptr, 0, NI_NUMERICHOST);
    return error == 0 ? host : "an unknown address";
}

std::vector<SocketAddress> lookUp(const ServerAddress& server, const Deadline& deadline) {
    const auto lookup = std::make_shared<Lookup>(server);
    // getaddrinfo cannot be interrupted; a thread that is still in it ends with the process.
    std::thread([lookup] { run(*lookup); }).detach();
    std::unique_lock lock(lookup->mutex);
    if (!lookup->done.wait_until(lock, deadline.end(), [&lookup] { return lookup->isDone; })) {
        deadline.fail("looking up the name: no answer");
    }
    if (lookup->numFound == 0) {
        throw ServerFailure(status::kHttpNotFound,
                            "looking up the name: " + reasonOf(*lookup) + "; check the name and the network");
    }
    return {lookup->found.begin(), lookup->found.begin() + static_cast<std::ptrdiff_t>(lookup->numFound)};
}

}  // namespace tallow::cli
