// Drivers for the server of a shared cache: servers that are silent, or reply with what a limit permits or forbids.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <thread>

#include "platform/crypto/redis_service.h"
#include "proof/limits/driver.h"
#include "proof/limits/measure.h"
#include "proof/limits/scene.h"

namespace proof {

namespace {

// Gives each command the same reply, each connection on a thread of its own, until the process of the driver ends.
class RawServer {
public:
    explicit RawServer(std::string reply = "", int delayMs = 0) : state_(std::make_shared<State>()) {
        std::signal(SIGPIPE, SIG_IGN);
        sockaddr_in place{};
        place.sin_family = AF_INET;
        place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof place;
        const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::bind(listener, reinterpret_cast<sockaddr*>(&place), sizeof place) != 0 || ::listen(listener, 32) != 0 ||
            ::getsockname(listener, reinterpret_cast<sockaddr*>(&place), &size) != 0) {
            throw std::runtime_error("no port for a server");
        }
        port_ = ntohs(place.sin_port);
        state_->reply = std::move(reply);
        state_->delayMs = delayMs;
        std::thread([state = state_, listener] {
            for (int open = ::accept(listener, nullptr, nullptr); open >= 0;
                 open = ::accept(listener, nullptr, nullptr)) {
                ++state->numConnections;
                std::thread([state, open] { state->serve(open); }).detach();
            }
        }).detach();
    }

    int port() const { return port_; }
    int numConnections() const { return state_->numConnections; }
    std::string setting() const { return "cache = \"redis://127.0.0.1:" + std::to_string(port_) + "/0\"\n"; }

private:
    // The threads go on when the object is gone.
    struct State {
        std::string reply;
        int delayMs = 0;
        std::atomic<int> numConnections = 0;

        void serve(int open) const {
            std::array<char, 4096> asked{};
            while (::recv(open, asked.data(), asked.size(), 0) > 0) {
                pauseMs(delayMs);
                for (std::size_t sent = 0; sent < reply.size();) {
                    const ssize_t count = ::send(open, reply.data() + sent, reply.size() - sent, MSG_NOSIGNAL);
                    if (count <= 0) {
                        break;
                    }
                    sent += static_cast<std::size_t>(count);
                }
            }
            ::close(open);
        }
    };

    const std::shared_ptr<State> state_;
    int port_ = 0;
};

constexpr const char* kCached = "[config.Basalt.cache_settings]\nOcspValiditySeconds = 3600\n";

// One short operation.
double secondsOfRemoval() {
    return secondsOf([] { crypto_forget_response(L"http://responder.test/"); });
}

// Looks for a response in the cache, which may be of any permitted size, then at a port where no server is.
void lookUp() {
    void* found = nullptr;
    CryptRetrieveObjectByUrlW(L"http://127.0.0.1:1/AAAA?Accept: a", CONTEXT_OID_OCSP_RESP, CRYPT_HTTP_POST_RETRIEVAL, 0,
                              &found, nullptr, nullptr, nullptr, nullptr);
    std::free(found);
}

bool hasFault(const char* words) {
    const char* const fault = crypto_cache_fault();
    return fault != nullptr && std::string(fault).find(words) != std::string::npos;
}

void waits200Ms(Probe& probe) {
    const RawServer server;
    const Machine machine(server.setting());
    probe.expectWithin(secondsOfRemoval(), 0.19, 0.2 + kLate, "seconds for a server that says nothing");
    probe.expect(hasFault("no answer in time"), "the fault is kept");
    const RawServer slow(":0\r\n", 60);
    machine.use(slow.setting());
    double sum = 0;
    for (int i = 0; i < 20; ++i) {
        sum += secondsOfRemoval();
    }
    probe.expectWithin(sum, 0.15, 0.2 + kLate, "seconds for 20 operations of a slow server");
}

// The first pause, and the second, which is twice as long.
void pausesAfterFailures(Probe& probe) {
    const RawServer server;
    const Machine machine(server.setting());
    secondsOfRemoval();
    for (const int seconds : {5, 10}) {
        const int before = server.numConnections();
        pauseMs(seconds * 1000 - 1200);
        secondsOfRemoval();
        probe.expect(server.numConnections() == before, "the server is left alone");
        pauseMs(1500);
        secondsOfRemoval();
        probe.expect(server.numConnections() == before + 1,
                     "it is tried again after " + std::to_string(seconds) + " s");
    }
}

// A reply that is permitted has no fault, even if it is no entry; `refused` has this one.
void readsOnly(Probe& probe, const std::string& permitted, const std::string& refused, const char* fault) {
    const RawServer good(permitted);
    const RawServer bad(refused);
    const Machine machine(good.setting(), kCached);
    lookUp();
    probe.expect(good.numConnections() == 1 && crypto_cache_fault() == nullptr, "what is permitted is read");
    machine.use(bad.setting(), kCached);
    lookUp();
    probe.expect(bad.numConnections() == 1 && hasFault(fault), "one more is refused");
}

void readsAsMuchAsAResponse(Probe& probe) {
    // Larger ones arrive too late on a busy machine.
    const auto reply = [](std::size_t size) {
        return '$' + std::to_string(size) + "\r\n" + std::string(size, 'x') + "\r\n";
    };
    const RawServer endless(reply(std::size_t{80} << 20));
    const Machine machine(endless.setting(), kCached);
    const double most = static_cast<double>(memoryOf(lookUp).most) / (1 << 20);
    probe.expect(crypto_cache_fault() != nullptr, "80 MiB are refused");
    probe.expectWithin(most, 0, 2 + 4, "MiB for a reply that is larger than any response, with the reader's room");
    probe.measured("memory for a reply of 80 MiB", most, "MiB");
    const RawServer large(reply(1 << 20));
    machine.use(large.setting(), kCached);
    lookUp();
    probe.expect(large.numConnections() == 1, "the server with 1 MiB is asked");
}

std::string listOf(std::size_t count) {
    std::string reply = '*' + std::to_string(count) + "\r\n";
    for (std::size_t i = 0; i < count; ++i) {
        reply += ":1\r\n";
    }
    return reply;
}

std::string nested(int levels) {
    std::string reply;
    for (int i = 0; i < levels; ++i) {
        reply += "*1\r\n";
    }
    return reply + ":1\r\n";
}

void reads65536Elements(Probe& probe) {
    readsOnly(probe, listOf(65536), listOf(65537), "too large");
}

void reads7NestedLists(Probe& probe) {
    // Later releases of hiredis read two more levels.
    readsOnly(probe, nested(7), nested(10), "does not speak");
}

void keeps8Connections(Probe& probe) {
    const RawServer server(":0\r\n", 60);
    const Machine machine(server.setting());
    std::vector<std::thread> threads;
    for (int i = 0; i < 14; ++i) {
        threads.emplace_back(secondsOfRemoval);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    pauseMs(50);
    probe.expect(server.numConnections() > 8, "more than 8 at a time");
    probe.expect(openConnections(server.port()) == 8, "8 are kept");
}

// The first command, and the next one after a pause of half a second.
void waits5Seconds(Probe& probe) {
    if (probe.command.empty()) {
        return;
    }
    const RawServer server;
    const Machine machine;
    std::thread run([&] {
        command(probe.command, machine,
                {"results", "--queue", "redis://127.0.0.1:" + std::to_string(server.port()) + "/0"}, 9000);
    });
    pauseMs(4500);
    probe.expect(server.numConnections() == 1, "the server has more than 4 s");
    pauseMs(3000);
    probe.expect(server.numConnections() == 2, "it is asked again after 5 s");
    run.join();
}

bool isRead(const std::string& reply, DWORD largest) {
    const RawServer server(reply);
    const std::string url = "redis://127.0.0.1:" + std::to_string(server.port()) + "/0";
    const CRYPTO_REDIS_SERVER place{sizeof place, url.c_str(), "", "", ""};
    CRYPTO_REDIS* const redis = crypto_redis_open(&place);
    BYTE ping[] = {'P', 'I', 'N', 'G'};
    const CRYPT_DATA_BLOB word{sizeof ping, ping};
    const CRYPTO_REDIS_VALUE* value = nullptr;
    const bool isRead = crypto_redis_ask(redis, &word, 1, 20000, largest, &value) != FALSE;
    crypto_redis_close(redis);
    return isRead;
}

void readsBoundedReplies(Probe& probe) {
    constexpr DWORD kMost = 1 << 20;
    const std::string text = "$1000\r\n" + std::string(1000, 'x') + "\r\n";
    probe.expect(isRead(text, 1009) && !isRead(text, 1008), "as many octets as the caller permits");
    probe.expect(isRead(listOf(65536), kMost) && !isRead(listOf(65537), kMost), "65536 elements");
    // Later releases of hiredis read two more levels.
    probe.expect(isRead(nested(7), kMost) && !isRead(nested(10), kMost), "7 nested lists");
}

// A reply that is as long as permitted is only no reply to these commands; of one that is longer they complain, or, for
// jobs that are too long, connect anew.
void readsWhatWasAskedFor(Probe& probe) {
    if (probe.command.empty()) {
        return;
    }
    constexpr std::size_t kHead = 64;  // of the protocol
    struct Row {
        std::vector<const char*> words;
        std::size_t size;
        bool complains;
    };
    const std::vector<const char*> worker{"worker", "--jobs", "8", "--claim-after", "600"};
    for (const Row& row : {Row{worker, 4096, true}, Row{worker, std::size_t{16} << 20, false},
                           Row{{"results"}, std::size_t{5} << 20, true}}) {
        for (const bool isPermitted : {true, false}) {
            const std::size_t size = isPermitted ? row.size - kHead : row.size + (row.size / 100) + kHead;
            const RawServer server('$' + std::to_string(size) + "\r\n" + std::string(size, 'x') + "\r\n");
            const Machine machine;
            std::vector<std::string> words(row.words.begin(), row.words.end());
            words.insert(words.end(), {"--queue", "redis://127.0.0.1:" + std::to_string(server.port()) + "/0"});
            const std::string said = command(probe.command, machine, words, 2500).err;
            const bool isRefused =
                row.complains ? said.find("too large") != std::string::npos : server.numConnections() > 5;
            probe.expect(isRefused != isPermitted, words.front() + " and a reply of " + std::to_string(size));
        }
    }
}

}  // namespace

std::vector<Driver> cacheDrivers() {
    constexpr const char* kCache = "the server of a [shared cache](shared-cache.md)";
    constexpr const char* kQueue = "the server of a [queue](fleet.md)";
    return {
        {kQueue, "5 s for each command", waits5Seconds, 9},
        {kQueue, "65536 elements and 7 nested lists in a reply", readsBoundedReplies},
        {kQueue, "replies of 4 KiB, 16 MiB with jobs and 5 MiB with results", readsWhatWasAskedFor, 15},
        {kCache, "200 ms for all operations of a check, and for all slow ones of the process", waits200Ms},
        {kCache, "a pause of 5 to 60 s", pausesAfterFailures, 16},
        {kCache, "the limits of CRLs and responses", readsAsMuchAsAResponse},
        {kCache, "65536 elements", reads65536Elements},
        {kCache, "7 nested lists in a reply", reads7NestedLists},
        {kCache, "8 idle connections", keeps8Connections},
    };
}

}  // namespace proof
