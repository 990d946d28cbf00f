// The command: reads the command line, runs the subcommand, prints. Only the result is written to standard output.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string_view>
#include <utility>

#include "checker/text/safe_text.h"
#include "cli/batch/batch.h"
#include "cli/check.h"
#include "cli/explain.h"
#include "cli/fleet/enqueue.h"
#include "cli/fleet/results.h"
#include "cli/fleet/worker.h"
#include "cli/input_files.h"
#include "cli/interruption.h"
#include "cli/metrics.h"
#include "cli/monitor.h"
#include "cli/option_rules.h"
#include "cli/options.h"
#include "cli/outcome.h"
#include "cli/output.h"
#include "cli/replaced_files.h"
#include "cli/report/report.h"
#include "cli/request.h"
#include "cli/result_printer.h"
#include "cli/run_inputs.h"
#include "cli/send.h"
#include "cli/settings.h"
#include "cli/show.h"
#include "cli/staple.h"
#include "cli/staple_printer.h"
#include "cli/store.h"
#include "cli/verbose.h"
#include "cli/verify.h"
#include "cli/verify_request.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace {

using namespace tallow::cli;
using namespace tallow::text;

// Needs no memory itself.
void reportExhaustedMemory() {
    constexpr std::string_view kMessage = "tallow: out of memory\n";
    static_cast<void>(::write(STDERR_FILENO, kMessage.data(), kMessage.size()) == 0);
}

std::terminate_handler terminateOtherwise = nullptr;

// Where no handler can catch it, exhausted memory still ends the command with the status that is documented for it.
[[noreturn]] void endWithoutMemory() {
    try {
        if (std::current_exception() != nullptr) {
            throw;
        }
    } catch (const std::bad_alloc&) {
        reportExhaustedMemory();
        ::_exit(kExitNoAnswer);
    } catch (...) {
        // The usual end names the exception.
    }
    terminateOtherwise();
    std::abort();
}

// Libraries and the parser of the command line make objects before main. What is listed here runs before all of them,
// also before the sanitizer is ready for its own checks.
__attribute__((no_sanitize("address", "undefined"))) void expectExhaustedMemory() {
    terminateOtherwise = std::set_terminate(endWithoutMemory);
}
__attribute__((section(".preinit_array"), used)) void (*const firstInitialiser)() = expectExhaustedMemory;

// If the caller closed a standard stream, a file or socket opened later would get its descriptor, and the result would
// be written there. Opened the wrong way round, so that using it fails and is noticed.
bool occupyStandardStreams() {
    int opened = 0;
    while (opened >= 0 && opened <= 2) {
        const bool isInputClosed = ::fcntl(STDIN_FILENO, F_GETFD) < 0;  // the next one gets its descriptor
        opened = isInputClosed ? ::open("/dev/null", O_WRONLY | O_CLOEXEC) : ::open("/dev/null", O_RDONLY | O_CLOEXEC);
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

using Results = std::vector<CheckResult>;

// A server that cannot be used makes a run slower, not wrong.
Outcome withCacheWarning(Outcome outcome) {
    if (const char* const fault = crypto_cache_fault()) {
        outcome.err += "tallow: " + safeLine(fault) + '\n';
    }
    return outcome;
}

// Settings that were found broken when a value was read are the cause, whatever failed then. The failures of `printed`
// are printed already.
Outcome withSettings(Outcome outcome, const Results& printed = {}) {
    const std::string mistake = outcome.exitStatus == kExitNoAnswer ? safeLine(settingsMistake()) : std::string();
    const bool isReported = std::any_of(printed.begin(), printed.end(), [&mistake](const CheckResult& result) {
        return failureLines(result).find(mistake) != std::string::npos;
    });
    if (!mistake.empty() && !isReported && outcome.err.find(mistake) == std::string::npos) {
        outcome.err += "tallow: settings: " + mistake + '\n';
    }
    return outcome;
}

// Without a verified answer: roots and CRLs that are ignored may be the cause.
Outcome withWarnings(Outcome outcome, const Results& printed = {}) {
    if (outcome.exitStatus == kExitNoAnswer) {
        outcome.err += storeWarnings();
    }
    return withSettings(std::move(outcome), printed);
}

// What is printed goes to standard error when standard output is for an output file.
std::ostream& streamFor(const CommandOptions& options) {
    return isOutputTaken(options) ? std::cerr : std::cout;
}

Monitor monitorFor(const CheckOptions& options) {
    return {options, std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now())};
}

// The exit status when something could not be written: no result is good then, but what is worse stays.
int statusWithoutOutput(int exitStatus, bool isMonitoring) {
    const int worst = isMonitoring ? static_cast<int>(MonitorState::kCritical) : kExitRevoked;
    return exitStatus == worst ? worst : kExitNoAnswer;
}

// The files that are written from all results.
class ResultFiles {
public:
    explicit ResultFiles(const CheckOptions& options) : metrics_(options.metrics), report_(options.report) {}

    void add(const CheckResult& result) {
        metrics_.add(result);
        report_.add(result);
    }
    // What happens to the outcome when one cannot be written. `mistake`: why the run ended early; empty: it did not.
    // The report says so, and metrics stay those of the last complete run.
    [[nodiscard]] Outcome write(Outcome outcome, bool isMonitoring, const std::string& mistake) {
        if (!mistake.empty()) {
            metrics_.keepPrevious();
        }
        outcome = written(std::move(outcome), isMonitoring, [this](const Outcome&) { metrics_.write(); });
        return written(std::move(outcome), isMonitoring,
                       [&](const Outcome& before) { report_.write(before.exitStatus, isMonitoring, mistake); });
    }

    // The line of a monitoring plugin, which says what became of the files, could not be printed.
    void noteUnprinted(int exitStatus) { report_.write(exitStatus, true, "the result could not be printed"); }

private:
    template <typename Write>
    static Outcome written(Outcome outcome, bool isMonitoring, const Write& write) {
        try {
            write(outcome);
        } catch (const InputError& failure) {
            const int exitStatus = statusWithoutOutput(outcome.exitStatus, isMonitoring);
            if (isMonitoring && exitStatus == kExitNoAnswer) {
                return monitorFailure(failure.what());
            }
            outcome.err += "tallow: " + safeLine(failure.what()) + '\n';
            outcome.exitStatus = exitStatus;
        }
        return outcome;
    }

    Metrics metrics_;
    Report report_;
};

// The result when it cannot be printed; the line about that comes at the end. The rest of a list is not checked then.
Outcome withoutPrint(Outcome outcome) {
    outcome.exitStatus = statusWithoutOutput(outcome.exitStatus, false);
    return outcome;
}

// Prints the line of a monitoring plugin after the files were written. When that fails, the report is made once more.
Outcome withPrintedLine(Outcome outcome, std::ostream& stream, ResultFiles& files) {
    stream << std::exchange(outcome.out, {}) << std::flush;
    if (!stream) {
        outcome.exitStatus = statusWithoutOutput(outcome.exitStatus, true);
        try {
            files.noteUnprinted(outcome.exitStatus);
        } catch (const InputError& failure) {
            outcome.err += "tallow: " + safeLine(failure.what()) + '\n';
        }
    }
    return outcome;
}

Outcome printed(const CheckOptions& options, ResultFiles& files) {
    const ResultPrinter printer(options, streamFor(options));
    const Results results = runCheck(options, [&](const CheckResult& result) {
        printer.print(result);
        files.add(result);
    });
    Outcome outcome = withWarnings(printer.finish(results), results);
    std::ostream& stream = streamFor(options);
    stream << std::exchange(outcome.out, {}) << std::flush;  // the report says whether that failed
    return files.write(stream ? std::move(outcome) : withoutPrint(std::move(outcome)), false, "");
}

Outcome monitored(const CheckOptions& options, ResultFiles& files) {
    Monitor monitor = monitorFor(options);
    const Results results = runCheck(options, [&](const CheckResult& result) {
        monitor.add(result);
        files.add(result);
        std::cerr << (options.isVerbose ? explanationOf(result) : "");
    });
    return withPrintedLine(files.write(withWarnings(monitor.finish(), results), true, ""), streamFor(options), files);
}

// The certificates of a list.
Outcome listed(const CheckOptions& options, ResultFiles& files) {
    Monitor monitor = monitorFor(options);
    const BatchEnd end = runBatch(options, streamFor(options), [&](const CheckResult& result) {
        files.add(result);
        if (options.isMonitoring) {
            monitor.add(result);
        }
    });
    Outcome outcome{"", "", end.exitStatus};
    if (options.isMonitoring) {
        outcome = monitor.finish();
        const bool isCritical = outcome.exitStatus == static_cast<int>(MonitorState::kCritical);
        outcome = end.mistake.empty() || isCritical ? outcome : monitorFailure(end.mistake);
    }
    outcome = withWarnings(std::move(outcome), end.failure);
    outcome.err += end.err;
    if (options.isMonitoring) {
        return withPrintedLine(files.write(std::move(outcome), true, end.mistake), streamFor(options), files);
    }
    if (end.isComplete || !end.mistake.empty()) {
        return files.write(std::move(outcome), false, end.mistake);
    }
    return files.write(withoutPrint(std::move(outcome)), false, "the results could not be printed");
}

struct Run {
    Outcome operator()(const CheckOptions& options) const {
        ResultFiles files(options);
        return !options.batch.list.empty() ? listed(options, files)
               : options.isMonitoring      ? monitored(options, files)
                                           : printed(options, files);
    }
    Outcome operator()(const RequestOptions& options) const { return withSettings(runRequest(options)); }
    Outcome operator()(const SendOptions& options) const { return withSettings(runSend(options)); }
    Outcome operator()(const VerifyOptions& options) const {
        const ResultPrinter printer(options, std::cout);
        const Results results = runVerify(options);
        for (const CheckResult& result : results) {
            printer.print(result);
        }
        return withWarnings(printer.finish(results), results);
    }
    Outcome operator()(const VerifyRequestOptions& options) const {
        Outcome outcome = runVerifyRequest(options);
        if (outcome.exitStatus == kExitRefused) {
            outcome.err += storeWarnings();
        }
        return withWarnings(std::move(outcome));
    }
    Outcome operator()(const StapleOptions& options) const {
        const StaplePrinter printer(options);
        const StapleReport report =
            runStaple(options, [&printer](const StapleResult& result) { printer.print(result); });
        Results answers;
        for (const StapleResult& result : report.staples) {
            answers.push_back(result.answer);
        }
        return withWarnings(printer.finish(report), answers);
    }
    Outcome operator()(const EnqueueOptions& options) const { return withSettings(runEnqueue(options)); }
    Outcome operator()(const WorkerOptions& options) const { return withSettings(runWorker(options)); }
    Outcome operator()(const ResultsOptions& options) const { return withSettings(runResults(options, std::cout)); }
    Outcome operator()(const ShowOptions& options) const { return runShow(options); }
    Outcome operator()(const StoreOptions& options) const { return runStore(options); }
    Outcome operator()(const SettingsOptions& options) const { return runSettings(options); }
    Outcome operator()(const ExplainOptions& options) const { return runExplain(options); }
};

// The reader of the pipe has enough, as `head` does, and needs no message.
bool isReaderGone() {
    pollfd output{STDOUT_FILENO, 0, 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

// The exit status when what was printed could not be written: no result is known then, but revoked stays revoked.
int statusOfPrinted(int exitStatus, bool isMonitoring = false) {
    std::cout << std::flush;
    if (std::cout) {
        return exitStatus;
    }
    if (!isReaderGone()) {
        std::cerr << "tallow: standard output cannot be written\n";
    }
    return statusWithoutOutput(exitStatus, isMonitoring);
}

// Prints, and gives the exit status. `isOutputTaken`: standard output is for an output file.
int finish(const Outcome& outcome, bool isOutputTaken, bool isMonitoring) {
    (isOutputTaken ? std::cerr : std::cout) << outcome.out;
    const int exitStatus = statusOfPrinted(outcome.exitStatus, isMonitoring);
    std::cerr << outcome.err;
    return isOutputTaken && !std::cerr && exitStatus == kExitGood ? kExitNoAnswer : exitStatus;
}

// The run has no result: one line, and a document for those who asked for JSON.
int fail(int argc, char** argv, int exitStatus, std::int32_t code, const std::string& text) {
    if (isMonitorAsked(argc, argv)) {
        return finish(monitorFailure(text), false, true);
    }
    const char* schema = schemaAsked(argc, argv);
    return finish({schema == nullptr ? "" : toJson(schema, {code, text}, exitStatus),
                   "tallow: " + safeLine(text) + '\n', exitStatus},
                  false, false);
}

int run(int argc, char** argv) {
    try {
        CommandOptions options;
        if (const std::optional<int> end = readCommandLine(argc, argv, options)) {
            return statusOfPrinted(*end);
        }
        requireInputsKept(options, outputFilesOf(options));
        const auto* const check = std::get_if<CheckOptions>(&options);
        return finish(withCacheWarning(std::visit(Run(), options)), isOutputTaken(options),
                      check != nullptr && check->isMonitoring);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const UsageError& error) {
        return fail(argc, argv, kExitUsage, status::kInvalidArgument, error.what());
    } catch (const InputError& error) {
        return fail(argc, argv, kExitUsage, error.code(), error.what());
    } catch (const std::exception& error) {
        return fail(argc, argv, kExitNoAnswer, status::kFail, error.what());
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (!occupyStandardStreams()) {
        std::fputs("tallow: /dev/null cannot be opened; raise the limit of open files, or repair the device\n", stderr);
        return kExitNoAnswer;
    }
    endOnSignals();
    forgetEnvironment();
    try {
        return run(argc, argv);
    } catch (...) {
        reportExhaustedMemory();
        return kExitNoAnswer;
    }
}
