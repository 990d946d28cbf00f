// A TCP connection that never waits longer than its deadline.
#pragma once

#include "cli/server/deadline.h"
#include "cli/server/plain_text.h"
#include "cli/server/server_address.h"

namespace tallow::cli {

class Connection : public Wire {
public:
    /// Connects to the first address of the server that accepts. Each gets an equal share of the time left, of at most
    /// 5 s while others remain. Throws ServerFailure. `deadline` must live longer than this object.
    Connection(const ServerAddress& server, const Deadline& deadline);
    ~Connection() override;

    std::size_t receive(char* octets, std::size_t size) override;
    void send(std::string_view octets) override;

    /// Of the socket, which does not block; stays with this object.
    int descriptor() const { return descriptor_; }
    /// Waits until the socket is ready for these events of poll(2), or throws ServerFailure: "`what` within 30 s".
    void wait(short events, const char* what) const;

private:
    const Deadline& deadline_;
    int descriptor_ = -1;
};

}  // namespace tallow::cli
