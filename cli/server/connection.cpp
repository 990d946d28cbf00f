#include "cli/server/connection.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "cli/server/name_lookup.h"
#include "cli/server/server_failure.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }
    int get() const { return number_; }
    int release() { return std::exchange(number_, -1); }

private:
    int number_;
};

// What poll(2) reports within this time; 0 when it is over.
int poll(int descriptor, short events, int milliseconds) {
    pollfd waiting{descriptor, events, 0};
    const int ready = ::poll(&waiting, 1, milliseconds);
    // Another event, such as an error, is found by the call that follows.
    return ready < 0 && errno == EINTR ? 0 : ready;
}

// 0, or the error. `end` is the end of the share of this address.
int connect(int descriptor, const SocketAddress& to, const Deadline& end) {
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&to.address), to.size) == 0) {
        return 0;
    }
    if (errno != EINPROGRESS) {
        return errno;
    }
    while (poll(descriptor, POLLOUT, end.millisecondsLeft()) == 0) {
        if (end.millisecondsLeft() == 0) {
            return ETIMEDOUT;
        }
    }
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

// The time for one of so many addresses: the first must not use up the time when, say, the network carries no IPv6.
std::chrono::milliseconds shareOf(int left, int numAddresses) {
    constexpr int kLongest = 5000;
    const int share = numAddresses == 1 ? left : std::min(left / numAddresses, kLongest);
    return std::chrono::milliseconds(std::max(1, share));
}

[[noreturn]] void failAtLoss(const char* doing) {
    throw ServerFailure(status::kHttpConnectionLost,
                        std::string(doing) + ": " + std::strerror(errno) + "; check the network, or try again later");
}

}  // namespace

Connection::Connection(const ServerAddress& server, const Deadline& deadline) : deadline_(deadline) {
    const std::vector<SocketAddress> addresses = lookUp(server, deadline);
    std::string failures;
    for (std::size_t i = 0; i < addresses.size() && deadline.millisecondsLeft() > 0; ++i) {
        const Deadline share(shareOf(deadline.millisecondsLeft(), static_cast<int>(addresses.size() - i)));
        Descriptor made(
            ::socket(addresses[i].address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
        const int error = made.get() < 0 ? errno : connect(made.get(), addresses[i], share);
        if (error == 0) {
            descriptor_ = made.release();
            return;
        }
        failures += (failures.empty() ? "" : ", ") + addresses[i].text() + ": " +
                    (error == ETIMEDOUT ? "no answer in " + share.limit() : std::string(std::strerror(error)));
    }
    if (deadline.millisecondsLeft() == 0) {
        deadline.fail("connecting: no connection (" + failures + ")");
    }
    throw ServerFailure(status::kHttpCannotConnect,
                        "connecting: " + failures + "; check the address, the port and the network");
}

Connection::~Connection() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

void Connection::wait(short events, const char* what) const {
    int ready = 0;
    while (ready == 0) {
        const int left = deadline_.millisecondsLeft();
        if (left == 0) {
            deadline_.fail(what);
        }
        ready = poll(descriptor_, events, left);
    }
    if (ready < 0) {
        failAtLoss("waiting for the server");
    }
}

std::size_t Connection::receive(char* octets, std::size_t size) {
    for (;;) {
        wait(POLLIN, "the server did not answer");
        const ssize_t count = ::recv(descriptor_, octets, size, 0);
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EAGAIN && errno != EINTR) {
            failAtLoss("receiving");
        }
    }
}

void Connection::send(std::string_view octets) {
    while (!octets.empty()) {
        wait(POLLOUT, "the server did not receive what was sent");
        const ssize_t count = ::send(descriptor_, octets.data(), octets.size(), MSG_NOSIGNAL);
        if (count < 0 && errno != EAGAIN && errno != EINTR) {
            failAtLoss("sending");
        }
        octets.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

}  // namespace tallow::cli
