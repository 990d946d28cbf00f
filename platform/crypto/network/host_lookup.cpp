#include "platform/crypto/network/host_lookup.h"

#include <netdb.h>
#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/support/fork_gate.h"

namespace tallow::platform {

namespace {

constexpr std::size_t kMostAddresses = 8;

// Room for everything from the start: in the thread nothing may be thrown.
struct Lookup {
    Lookup(std::string host, unsigned int port)
        : host(std::move(host)), port(std::to_string(port)), process(ForkGate::generation()) {}

    const std::string host, port;
    const std::uint32_t process;  // a child of fork has no thread that would complete it
    std::mutex mutex;
    std::condition_variable done;
    bool isDone = false;
    HostAddress found[kMostAddresses];
    std::size_t numFound = 0;
    int error = 0;
};

void run(Lookup& lookup, int flags) noexcept {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | flags;
    addrinfo* list = nullptr;
    const int error = ::getaddrinfo(lookup.host.c_str(), lookup.port.c_str(), &hints, &list);
    const std::scoped_lock lock(lookup.mutex);
    for (const addrinfo* next = list; next != nullptr && lookup.numFound < kMostAddresses; next = next->ai_next) {
        HostAddress& address = lookup.found[lookup.numFound++];
        std::memcpy(&address.address, next->ai_addr, next->ai_addrlen);
        address.size = next->ai_addrlen;
    }
    if (list != nullptr) {
        ::freeaddrinfo(list);
    }
    lookup.error = error;
    lookup.isDone = true;
    lookup.done.notify_all();
}

// Signals belong to the threads of the program.
bool runInThread(const std::shared_ptr<Lookup>& lookup) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    auto argument = std::make_unique<std::shared_ptr<Lookup>>(lookup);
    pthread_t thread{};
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const bool isStarted =
        pthread_create(
            &thread, nullptr,
            [](void* given) -> void* {
                const std::unique_ptr<std::shared_ptr<Lookup>> own(static_cast<std::shared_ptr<Lookup>*>(given));
                run(**own, 0);
                return nullptr;
            },
            argument.get()) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (isStarted) {
        static_cast<void>(argument.release());
        pthread_detach(thread);
    }
    return isStarted;
}

constinit std::mutex current;
// Never destroyed: a thread of the program may look up a name while the process ends.
std::weak_ptr<Lookup>& running() {
    static auto* const lookup = new std::weak_ptr<Lookup>();
    return *lookup;
}

// The lookup that runs for this host, or a new one; null without a thread for it.
std::shared_ptr<Lookup> beginLookup(const std::string& host, unsigned int port) {
    const std::scoped_lock lock(current);
    std::shared_ptr<Lookup> lookup = running().lock();
    if (lookup && lookup->host == host && lookup->port == std::to_string(port) &&
        lookup->process == ForkGate::generation()) {
        return lookup;
    }
    lookup = std::make_shared<Lookup>(host, port);
    if (!runInThread(lookup)) {
        return nullptr;
    }
    running() = lookup;
    return lookup;
}

}  // namespace

std::vector<HostAddress> lookUpHost(const std::string& host, unsigned int port,
                                    std::chrono::steady_clock::time_point deadline, std::string& fault) {
    auto lookup = std::make_shared<Lookup>(host, port);
    run(*lookup, AI_NUMERICHOST);
    if (lookup->numFound == 0) {
        lookup = beginLookup(host, port);
        if (!lookup) {
            fault = "no thread for looking up the name";
            return {};
        }
    }
    std::unique_lock lock(lookup->mutex);
    const bool isDone = [&] {
        const ForkGate::Outside waiting;
        return lookup->done.wait_until(lock, deadline, [&lookup] { return lookup->isDone; });
    }();
    if (!isDone) {
        fault = "looking up the name: no answer in time";
        return {};
    }
    if (lookup->numFound == 0) {
        fault = std::string("looking up the name: ") + ::gai_strerror(lookup->error);
    }
    return {lookup->found, lookup->found + lookup->numFound};
}

}  // namespace tallow::platform
