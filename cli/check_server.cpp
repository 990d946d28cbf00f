#include "cli/check_server.h"

#include <algorithm>

#include "checker/text/safe_text.h"
#include "cli/check_result_of.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/server/server_certificates.h"
#include "cli/server/server_failure.h"
#include "cli/server_staple.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

using std::chrono::milliseconds;

constexpr std::uint16_t kHttps = 443;
constexpr milliseconds kUsualTimeout(30000);
// A chain has at most 12 certificates; each check can take as long as --timeout permits.
constexpr std::size_t kMostChecked = 16;

ServerToAsk serverOf(const CheckOptions& options) {
    ServerToAsk server;
    server.timeout = options.timeout.value_or(kUsualTimeout);
    server.startTls = startTlsNamed(options.server.startTls);
    if (server.startTls == nullptr && !options.server.startTls.empty()) {
        throw InputError("--starttls " + options.server.startTls, "is not a known protocol; see tallow check --help");
    }
    std::string option = "--connect " + text::withoutLogin(options.server.address);
    try {
        server.address =
            readServerAddress(options.server.address, server.startTls == nullptr ? kHttps : server.startTls->port);
        option = "--servername " + options.server.name;
        server.serverName = options.server.name;
        if (!server.serverName.empty()) {
            requireServerName(server.serverName);
        } else if (!server.address.isNumeric) {
            server.serverName = server.address.host;
        }
    } catch (const AddressMistake& mistake) {
        throw InputError(option, mistake.what());
    }
    return server;
}

// With the certificates that the server sent. One that cannot be read completes no chain.
RunInputs withSent(RunInputs inputs, const std::vector<SentCertificate>& chain) {
    for (const SentCertificate& sent : chain) {
        try {
            inputs.addCertificate(sent.der);
        } catch (const BadInput&) {
            continue;
        }
    }
    return inputs;
}

// The positions of those to check.
std::vector<std::size_t> toCheck(const std::vector<SentCertificate>& chain, bool wholeChain) {
    std::vector<std::size_t> positions{0};
    for (std::size_t i = 1; wholeChain && i < chain.size(); ++i) {
        const bool isNew = std::none_of(chain.begin(), chain.begin() + static_cast<std::ptrdiff_t>(i),
                                        [&](const SentCertificate& other) { return other.der == chain[i].der; });
        if (isNew && !chain[i].isSelfSigned) {
            positions.push_back(i);
        }
    }
    return positions;
}

// The time that remains of a limit that the user set, for the certificate of the server.
CheckOptions withTimeLeft(CheckOptions options, std::chrono::steady_clock::time_point start) {
    if (options.timeout) {
        const auto spent = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
        options.timeout = std::max(milliseconds(1), *options.timeout - spent);
    }
    return options;
}

CheckError errorOf(const ServerFailure& failure, const CheckOptions& options) {
    const char* const direct = options.proxy.empty() ? "" : " (the server is contacted directly, not through --proxy)";
    return {failure.code(), failure.what() + std::string(direct)};
}

}  // namespace

void checkServer(const CheckOptions& options, const RunInputs& inputs, const CertificateCheck& check,
                 const ResultUse& done, std::vector<CheckResult>& results) {
    const ServerToAsk server = serverOf(options);
    const auto start = std::chrono::steady_clock::now();
    const auto add = [&](const std::string& label, const auto& fillIn) {
        CheckResult& result = results.emplace_back();
        result.file = label;
        try {
            fillIn(result);
        } catch (const ServerFailure& failure) {
            fail(result, errorOf(failure, options));
        } catch (...) {
            fail(result, explainCaught("checking the server"));
        }
        done(result);
    };
    const std::string label = server.address.label();
    ServerCertificates sent;
    RunInputs own = inputs;
    std::vector<std::size_t> positions;
    add(label, [&](CheckResult& result) {
        sent = retrieveCertificates(server);
        own = withSent(inputs, sent.chain);
        positions = toCheck(sent.chain, options.server.wholeChain);
        check(withTimeLeft(options, start), own, sent.chain.front().der, result);
        result.staple = stapleOf(options, own, sent, result.verdict);
    });
    for (std::size_t i = 1; i < positions.size() && i <= kMostChecked; ++i) {
        add(label + "#" + std::to_string(positions[i] + 1), [&](CheckResult& result) {
            if (i == kMostChecked) {
                throw ServerFailure(status::kInvalidData, "the server sent more than " + std::to_string(kMostChecked) +
                                                              " certificates; the others are not checked");
            }
            check(options, own, sent.chain[positions[i]].der, result);
        });
    }
}

}  // namespace tallow::cli
