// The addresses of a host, within a time limit.
#pragma once

#include <sys/socket.h>

#include <chrono>
#include <string>
#include <vector>

namespace tallow::platform {

struct HostAddress {
    sockaddr_storage address{};
    socklen_t size = 0;
};

// In the order in which they are to be tried, at most 8. None on failure, with the cause in `fault`. A lookup cannot be
// interrupted: one that lasts longer goes on in a thread of its own, and the next call for the same host waits for it
// rather than start another.
std::vector<HostAddress> lookUpHost(const std::string& host, unsigned int port,
                                    std::chrono::steady_clock::time_point deadline, std::string& fault);

}  // namespace tallow::platform
