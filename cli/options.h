// The command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tallow::cli {

struct CheckOptions {
    std::vector<std::string> certificates;
    std::string issuer;
    std::string url;
    std::string proxy;
    std::vector<std::string> trust;
    std::vector<std::string> certs;
    std::vector<std::string> crls;
    std::string hash;
    std::optional<bool> nonce;  // absent: what policy says
    std::string settings;
    std::string saveRequest;
    std::string saveResponse;
    bool trace = false;
    bool json = false;
};

// Exit statuses.
inline constexpr int kExitGood = 0;
inline constexpr int kExitRevoked = 1;
inline constexpr int kExitUnknown = 2;
inline constexpr int kExitNoAnswer = 3;
inline constexpr int kExitUsage = 64;

/// Reads the command line. A value is an exit status at which to end: 0 after --help and --version, which print to
/// standard output, kExitUsage after a mistake, told in one line on standard error.
std::optional<int> readCommandLine(int argc, char** argv, CheckOptions& options);

}  // namespace tallow::cli
