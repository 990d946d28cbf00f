// What drivers work with: a machine of their own, a PKI, exchanges, and times.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "checker/checker.h"
#include "platform/crypto/crypto_service.h"
#include "tests/support/http_server.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace proof {

using testkit::Bytes;
using testkit::HttpReply;
using testkit::HttpRequest;
using testkit::HttpServer;
using testkit::Identity;

/// The settings and stores of this process, in a directory of its own. Without the system's roots, and
/// without a cache unless a driver asks for one.
class Machine {
public:
    /// Lines for the table [crypto], and lines for the table of the policy.
    explicit Machine(const std::string& crypto = "", const std::string& policy = "");

    void use(const std::string& crypto, const std::string& policy = "", bool hasCache = false) const;
    /// A cache is wanted, but its directory cannot be made.
    void useUnusableCache() const;
    /// The path of a store's file, "CA/ca.pem".
    std::string write(const std::string& file, const Bytes& content) const;
    const testkit::TempDir& folder() const { return folder_; }
    std::string settingsFile() const { return folder_.file("settings.toml"); }

private:
    testkit::TempDir folder_;
};

/// A root, a CA below it and a certificate of that CA, with the CRLs of both.
struct SmallPki {
    SmallPki();
    Identity root, ca, leaf;
    Bytes rootCrl, caCrl;

    /// A delegate that needs no CRL.
    Identity delegate(const std::string& name = "responder") const;
    /// The root is trusted, the CRLs are at hand.
    tallow::Trust trust() const;
    /// Good about the leaf, now.
    testkit::ResponseSpec good(const Identity& signer) const;
};

/// A server that answers every request with this response and the nonce of the request.
HttpServer::Handler answering(const testkit::ResponseSpec& response);

struct ChainInput {
    std::vector<Bytes> carried = {};  // certificates beside the end certificate, in this order
    std::vector<Bytes> crls = {};
    bool hasRevocation = false;
    bool hasDownloads = false;
};
struct ChainResult {
    DWORD error = 0;  // CERT_TRUST_..., of the whole chain
    DWORD numElements = 0;
    bool isSound() const { return error == 0; }
};
/// Built by the service, with the stores of the machine.
ChainResult chainOf(const Bytes& end, const ChainInput& input);

struct Exchanged {
    unsigned long status = 0;  // of HTTP; 0: none
    DWORD error = 0;
    Bytes body;
};
/// One exchange of the service: a POST.
Exchanged post(const std::string& url);

/// By how many seconds a limit of time may be missed: other processes need the processors as well.
constexpr double kLate = 2;

/// Of the clock.
double secondsOf(const std::function<void()>& run);
void pauseMs(int milliseconds);

/// The connections of this machine to a port that are established, as the system lists them.
int openConnections(int port);

/// What the command printed and how it ended; it uses the settings of the machine.
testkit::ProcessResult command(const std::string& program, const Machine& machine,
                               const std::vector<std::string>& arguments, int timeoutMs = 30000,
                               const std::vector<std::string>& environment = {});

/// DER of a name.
Bytes commonName(const std::string& name);

/// The element `count` times.
Bytes repeated(const Bytes& element, std::size_t count);

}  // namespace proof
