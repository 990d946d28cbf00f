// The command: reads the command line, runs what it names, prints. Nothing but the result goes to standard output.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string_view>
#include <utility>

#include "cli/check.h"
#include "cli/input_files.h"
#include "cli/options.h"
#include "cli/outcome.h"
#include "cli/request.h"
#include "cli/run_inputs.h"
#include "cli/safe_text.h"
#include "cli/send.h"
#include "cli/settings.h"
#include "cli/show.h"
#include "cli/store.h"
#include "cli/verify.h"
#include "cli/verify_request.h"

namespace {

using namespace tallow::cli;

// A stream that the caller closed would be opened anew as a file or a socket of ours, and the result written there.
// Open for reading alone, so that writing the result fails and is noticed.
bool occupyStandardStreams() {
    int opened = 0;
    while (opened >= 0 && opened <= 2) {
        opened = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    }
    return opened > 2 && ::close(opened) == 0;
}

// Nothing in the environment decides what is trusted, which code OpenSSL loads, or who learns a secret.
void forgetEnvironment() {
    for (const char* name : {"OPENSSL_CONF", "OPENSSL_CONF_INCLUDE", "OPENSSL_ENGINES", "OPENSSL_MODULES",
                             "SSL_CERT_FILE", "SSL_CERT_DIR", "CURL_CA_BUNDLE", "CURL_SSL_BACKEND", "SSLKEYLOGFILE"}) {
        ::unsetenv(name);
    }
}

// Settings that show to be broken only when a value is read are why nothing came of it, whatever failed then.
Outcome withSettings(Outcome outcome) {
    const std::string mistake = outcome.exitStatus == kExitNoAnswer ? safeLine(settingsMistake()) : std::string();
    if (!mistake.empty() && outcome.err.find(mistake) == std::string::npos) {
        outcome.err += "tallow: settings: " + mistake + '\n';
    }
    return outcome;
}

// Where no answer could be trusted, roots and CRLs that do not count may be why.
Outcome withWarnings(Outcome outcome) {
    if (outcome.exitStatus == kExitNoAnswer) {
        outcome.err += storeWarnings();
    }
    return withSettings(std::move(outcome));
}

struct Run {
    Outcome operator()(const CheckOptions& options) const {
        return withWarnings(outcomeOf(runCheck(options), options.json));
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
};

// Prints, and gives the exit status.
int finish(const Outcome& outcome) {
    std::cout << outcome.out << std::flush;
    std::cerr << outcome.err;
    if (!std::cout) {
        std::cerr << "tallow: standard output cannot be written\n";
        // Whoever did not get the answer has none; that one is revoked shows all the same.
        return outcome.exitStatus == kExitRevoked ? kExitRevoked : kExitNoAnswer;
    }
    return outcome.exitStatus;
}

int run(int argc, char** argv) {
    try {
        CommandOptions options;
        if (const std::optional<int> end = readCommandLine(argc, argv, options)) {
            return *end;
        }
        return finish(std::visit(Run(), options));
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
    forgetEnvironment();
    try {
        return run(argc, argv);
    } catch (...) {
        // Memory was wanting, if not before then for the message: this one needs none.
        constexpr std::string_view kMessage = "tallow: out of memory\n";
        static_cast<void>(::write(STDERR_FILENO, kMessage.data(), kMessage.size()) == 0);
        return kExitNoAnswer;
    }
}
