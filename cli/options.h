// The command line.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tallow::cli {

/// Options that several commands share: settings, and files with certificates and CRLs.
struct RunOptions {
    std::string issuer;
    std::vector<std::string> trust;
    std::vector<std::string> certs;
    std::vector<std::string> crls;
    std::string hash;
    std::string settings;
    bool trace = false;
};

struct CheckOptions : RunOptions {
    std::vector<std::string> certificates;
    std::string url;
    std::string proxy;
    std::optional<bool> nonce;  // absent: policy decides
    bool verifyChain = false;
    std::string saveRequest;
    std::string saveResponse;
    bool json = false;
};

struct RequestOptions : RunOptions {
    std::vector<std::string> certificates;
    std::optional<bool> nonce;  // absent: policy decides
    std::string sign;
    std::string key;
    std::string pinFile;
    std::string include = "policy";
    std::string output;
};

struct SendOptions : RunOptions {
    std::string url;
    std::string proxy;
    std::string request;
    std::string output;
};

struct VerifyOptions : RunOptions {
    std::string response;
    std::string request;
    std::string certificate;
    bool json = false;
};

struct VerifyRequestOptions : RunOptions {
    std::string request;
    bool json = false;
};

struct ShowOptions {
    std::string file;
    bool json = false;
};

enum class StoreAction { kList, kAdd, kRemove };

struct StoreOptions : RunOptions {
    StoreAction action = StoreAction::kList;
    std::string name;
    std::string file;
    bool machine = false;
};

struct SettingsOptions : RunOptions {};

using CommandOptions = std::variant<CheckOptions, RequestOptions, SendOptions, VerifyOptions, VerifyRequestOptions,
                                    ShowOptions, StoreOptions, SettingsOptions>;

// Exit statuses.
inline constexpr int kExitGood = 0;
inline constexpr int kExitRevoked = 1;
inline constexpr int kExitUnknown = 2;
inline constexpr int kExitNoAnswer = 3;
inline constexpr int kExitUsage = 64;

/// Reads the command line. A value is the exit status to end with: 0 after --help and --version, which print to
/// standard output, kExitUsage after a mistake, which is reported in one line on standard error.
std::optional<int> readCommandLine(int argc, char** argv, CommandOptions& options);

}  // namespace tallow::cli
