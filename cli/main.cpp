// The command: reads the command line, checks, prints. Nothing but the result goes to standard output.
#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <iostream>

#include "cli/check.h"
#include "cli/input_files.h"
#include "cli/options.h"
#include "cli/output.h"
#include "cli/safe_text.h"

namespace {

// A stream that the caller closed would be opened anew as a file or a socket of ours, and the result written there.
// Open for reading alone, so that writing the result fails and is noticed.
bool occupyStandardStreams() {
    int opened = 0;
    while (opened >= 0 && opened <= 2) {
        opened = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    }
    return opened > 2 && ::close(opened) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace tallow::cli;
    if (!occupyStandardStreams()) {
        return kExitNoAnswer;
    }
    try {
        CheckOptions options;
        if (const std::optional<int> end = readCommandLine(argc, argv, options)) {
            return *end;
        }
        const std::vector<CheckResult> results = runCheck(options);
        std::cout << (options.json ? toJson(results) : toText(results)) << std::flush;
        std::cerr << failureLines(results);
        const int exitStatus = exitStatusOf(results);
        if (!std::cout) {
            std::cerr << "tallow: standard output cannot be written\n";
            // Whoever did not get the answer has none; that one is revoked shows all the same.
            return exitStatus == kExitRevoked ? kExitRevoked : kExitNoAnswer;
        }
        return exitStatus;
    } catch (const InputError& error) {
        std::cerr << "tallow: " << safeLine(error.what()) << '\n';
        return kExitUsage;
    } catch (const std::exception& error) {
        std::cerr << "tallow: " << safeLine(error.what()) << '\n';
        return kExitNoAnswer;
    }
}
