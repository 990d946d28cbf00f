// The command: reads the command line, runs the subcommand, prints. Only the result is written to standard output.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string_view>
#include <utility>

#include "checker/text/safe_text.h"
#include "cli/check.h"
#include "cli/explain.h"
#include "cli/input_files.h"
#include "cli/interruption.h"
#include "cli/option_rules.h"
#include "cli/options.h"
#include "cli/outcome.h"
#include "cli/request.h"
#include "cli/run_inputs.h"
#include "cli/send.h"
#include "cli/settings.h"
#include "cli/show.h"
#include "cli/store.h"
#include "cli/verify.h"
#include "cli/verify_request.h"

namespace {

using namespace tallow::cli;
using namespace tallow::text;

// If the caller closed a standard stream, a file or socket opened later would get its descriptor, and the result would
// be written there. Opened only for reading, so that writing the result fails and is noticed.
bool occupyStandardStreams() {
    int opened = 0;
    while (opened >= 0 && opened <= 2) {
        opened = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    }
    return opened > 2 && ::close(opened) == 0;
}

// The environment must not decide what is trusted, which code OpenSSL loads, or where secrets are written.
void forgetEnvironment() {
    for (const char* name : {"OPENSSL_CONF", "OPENSSL_CONF_INCLUDE", "OPENSSL_ENGINES", "OPENSSL_MODULES",
                             "SSL_CERT_FILE", "SSL_CERT_DIR", "CURL_CA_BUNDLE", "CURL_SSL_BACKEND", "SSLKEYLOGFILE"}) {
        ::unsetenv(name);
    }
}

// Settings that were found broken when a value was read are the cause, whatever failed then.
Outcome withSettings(Outcome outcome) {
    const std::string mistake = outcome.exitStatus == kExitNoAnswer ? safeLine(settingsMistake()) : std::string();
    if (!mistake.empty() && outcome.err.find(mistake) == std::string::npos) {
        outcome.err += "tallow: settings: " + mistake + '\n';
    }
    return outcome;
}

// Without a verified answer: roots and CRLs that are ignored may be the cause.
Outcome withWarnings(Outcome outcome) {
    if (outcome.exitStatus == kExitNoAnswer) {
        outcome.err += storeWarnings();
    }
    return withSettings(std::move(outcome));
}

struct Run {
    Outcome operator()(const CheckOptions& options) const {
        return withWarnings(outcomeOf(runCheck(options, [](const CheckResult&) {}), options.json));
    }
    Outcome operator()(const RequestOptions& options) const { return withSettings(runRequest(options)); }
    Outcome operator()(const SendOptions& options) const { return withSettings(runSend(options)); }
    Outcome operator()(const VerifyOptions& options) const {
        return withWarnings(outcomeOf(runVerify(options), options.json));
    }
    Outcome operator()(const VerifyRequestOptions& options) const {
        Outcome outcome = runVerifyRequest(options);
        if (outcome.exitStatus == kExitRefused) {
            outcome.err += storeWarnings();
        }
        return withWarnings(std::move(outcome));
    }
    Outcome operator()(const ShowOptions& options) const { return runShow(options); }
    Outcome operator()(const StoreOptions& options) const { return runStore(options); }
    Outcome operator()(const SettingsOptions& options) const { return runSettings(options); }
    Outcome operator()(const ExplainOptions& options) const { return runExplain(options); }
};

// The exit status when what was printed could not be written: no result is known then, but revoked stays revoked.
int statusOfPrinted(int exitStatus) {
    std::cout << std::flush;
    if (std::cout) {
        return exitStatus;
    }
    std::cerr << "tallow: standard output cannot be written\n";
    return exitStatus == kExitRevoked ? kExitRevoked : kExitNoAnswer;
}

// Prints, and gives the exit status. `isOutputTaken`: standard output is for an output file.
int finish(const Outcome& outcome, bool isOutputTaken) {
    (isOutputTaken ? std::cerr : std::cout) << outcome.out;
    const int exitStatus = statusOfPrinted(outcome.exitStatus);
    std::cerr << outcome.err;
    return isOutputTaken && !std::cerr && exitStatus == kExitGood ? kExitNoAnswer : exitStatus;
}

int run(int argc, char** argv) {
    try {
        CommandOptions options;
        if (const std::optional<int> end = readCommandLine(argc, argv, options)) {
            return statusOfPrinted(*end);
        }
        return finish(std::visit(Run(), options), isOutputTaken(options));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const InputError& error) {
        std::cerr << "tallow: " << safeLine(error.what()) << '\n';
        return kExitUsage;
    } catch (const std::exception& error) {
        std::cerr << "tallow: " << safeLine(error.what()) << '\n';
        return kExitNoAnswer;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (!occupyStandardStreams()) {
        return kExitNoAnswer;
    }
    endOnSignals();
    forgetEnvironment();
    try {
        return run(argc, argv);
    } catch (...) {
        // Memory is exhausted: this message needs none.
        constexpr std::string_view kMessage = "tallow: out of memory\n";
        static_cast<void>(::write(STDERR_FILENO, kMessage.data(), kMessage.size()) == 0);
        return kExitNoAnswer;
    }
}
