// The command line.
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "checker/checker.h"

namespace tallow::cli {

enum class Colour { kAuto, kAlways, kNever };

/// How results are printed.
struct OutputOptions {
    bool json = false;
    bool jsonLines = false;  // one document in each line, as soon as it is known
    bool isVerbose = false;  // explains each verdict on standard error
    Colour colour = Colour::kAuto;
};

/// How servers are reached.
struct NetworkOptions {
    std::string proxy;
    std::string proxyUser;
    std::string proxyPasswordFile;
    std::optional<std::chrono::milliseconds> timeout;  // for one certificate; absent: the setting, else 30 s
};

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

/// A server whose certificates are to be checked, "HOST", "HOST:PORT" or "[IPv6]:PORT".
struct ServerOptions {
    std::string address;   // empty: none
    std::string startTls;  // the protocol in which TLS is asked for; empty: TLS at once
    std::string name;      // sent as SNI; empty: that of the address
    bool wholeChain = false;
};

/// A list of certificates, checked several at a time.
struct BatchOptions {
    std::string list;      // its path; empty: there is none
    unsigned jobs = 8;     // checks at a time
    unsigned perHost = 4;  // checks at a time that ask the same server
    unsigned bundle = 1;   // certificates in a request, at most
    std::string resume;    // the file that records what is done; empty: none
};

struct CheckOptions : RunOptions, OutputOptions, NetworkOptions {
    std::vector<std::string> certificates;
    BatchOptions batch;
    ServerOptions server;
    std::string url;
    std::optional<Nonce> nonce;  // absent: policy decides
    std::optional<std::chrono::seconds> maxAge;
    bool verifyChain = false;
    std::string saveRequest;
    std::string saveResponse;
    bool isMonitoring = false;  // prints one line for a monitoring system
    std::optional<std::chrono::seconds> warn, critical;
    std::string metrics;  // a file for Prometheus
    std::string report;   // a file in HTML
};

struct RequestOptions : RunOptions {
    std::vector<std::string> certificates;
    std::optional<Nonce> nonce;  // absent: policy decides; kTry is like kRequire here
    std::string sign;
    std::string key;
    std::string pinFile;
    std::string include = "policy";
    std::string output;
};

struct SendOptions : RunOptions, NetworkOptions {
    std::string url;
    std::string request;
    std::string output;
};

struct VerifyOptions : RunOptions, OutputOptions {
    std::string response;
    std::string request;
    std::string certificate;
    std::optional<Time> at;  // the time of the verdict; absent: now
    std::optional<std::chrono::seconds> maxAge;
};

struct VerifyRequestOptions : RunOptions, OutputOptions {
    std::string request;
};

struct ShowOptions : OutputOptions {
    std::string file;
};

enum class StoreAction { kList, kAdd, kRemove };

struct StoreOptions : RunOptions, OutputOptions {
    StoreAction action = StoreAction::kList;
    std::string name;
    std::string file;
    bool machine = false;
};

struct SettingsOptions : RunOptions, OutputOptions {
    bool isCheck = false;  // reports the mistakes in the file instead of the values
    std::string file;      // the file to check; empty: the one in force
};

/// Responses for TLS servers, kept as files.
struct StapleOptions : RunOptions, OutputOptions, NetworkOptions {
    std::vector<std::string> certificates;
    std::string directory;  // of the responses
    std::string name;       // of the response, without ".ocsp"; empty: that of the file of the certificate
    std::string url;
    std::optional<std::chrono::seconds> maxAge;
    bool onlyWhenDue = false;  // asks only from the middle of the validity period on
    bool writesRevoked = false;
    std::string hook;  // command for the shell; empty: none
};

/// The server that holds the queue of a fleet.
struct QueueOptions {
    std::string url, user, passwordFile, caFile;
};

/// Checks the jobs of a queue. The options of a check apply, but for those that name certificates or files to write.
struct WorkerOptions : CheckOptions {
    QueueOptions queue;
    std::string name;                     // of the worker; empty: host and process
    unsigned rate = 0;                    // checks of one host in a second, by all workers; 0: any number
    std::chrono::seconds claimAfter{60};  // how long a job may be with a worker that does not say that it has it
    unsigned keep = 1000000;              // results
    bool untilEmpty = false;
};

struct EnqueueOptions : CheckOptions {
    QueueOptions queue;
    std::string run;                 // begins the ids of the jobs; empty: a random one
    std::chrono::seconds wait{600};  // how long a full queue may have no room
};

struct ResultsOptions : RunOptions {
    QueueOptions queue;
    std::string run;  // only its results; empty: all
    bool dead = false;
    bool remove = false;
};

struct ExplainOptions {
    std::string code;  // a status as the user wrote it
};

using CommandOptions = std::variant<CheckOptions, RequestOptions, SendOptions, VerifyOptions, VerifyRequestOptions,
                                    ShowOptions, StoreOptions, SettingsOptions, ExplainOptions, StapleOptions,
                                    WorkerOptions, EnqueueOptions, ResultsOptions>;

// Exit statuses.
inline constexpr int kExitGood = 0;
inline constexpr int kExitRevoked = 1;
inline constexpr int kExitUnknown = 2;
inline constexpr int kExitNoAnswer = 3;
inline constexpr int kExitUsage = 64;

/// A mistake on the command line; what() is one line and names a remedy.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line. A value is the exit status to end with: 0 after --help and --version, which print to
/// standard output. Throws UsageError.
std::optional<int> readCommandLine(int argc, char** argv, CommandOptions& options);

}  // namespace tallow::cli
