// The addresses of a host.
#pragma once

#include <sys/socket.h>

#include <string>
#include <vector>

#include "cli/server/deadline.h"
#include "cli/server/server_address.h"

namespace tallow::cli {

struct SocketAddress {
    sockaddr_storage address{};
    socklen_t size = 0;

    /// "192.0.2.1".
    std::string text() const;
};

/// In the order in which they are to be tried, at least one, at most 16. Throws ServerFailure.
std::vector<SocketAddress> lookUp(const ServerAddress& server, const Deadline& deadline);

}  // namespace tallow::cli
