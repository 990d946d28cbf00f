// Threads use the library in every way that docs/threading.md permits. Built with ThreadSanitizer, any report is a
// finding; without it, a wrong answer, a crash and a deadlock are.
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "proof/common/part.h"
#include "proof/threads/scenarios.h"

// The first report ends the process. OpenSSL and libcurl are not instrumented, so that ThreadSanitizer does not see
// their atomic reference counts: it would report what they do on the memory that they share among threads. Exported,
// since the sanitizer is a shared library.
extern "C" [[gnu::visibility("default")]] const char* __tsan_default_options() {  // NOLINT: the sanitizer's name
    return "halt_on_error=1:exitcode=66:die_after_fork=0:ignore_noninstrumented_modules=1";
}

namespace {

using namespace proof;

constexpr std::uint64_t kCasesOfScenario = 100;

class Threads : public Part {
public:
    std::uint64_t caseCount() const override { return scenarios().size() * kCasesOfScenario; }

    void runCase(std::uint64_t number, Report& report) override {
        const Scenario& scenario = scenarios()[number % scenarios().size()];
        const pid_t child = ::fork();
        if (child < 0) {
            throw std::runtime_error("no process");
        }
        if (child == 0) {
            ::_exit(scenario.run(scene_, static_cast<unsigned>(number)) == 0 ? 0 : 1);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        report.count(scenario.name);
        if (status != 0) {
            report.finding(std::string(scenario.name) + ": wait status " + std::to_string(status), filesOf(number));
        }
    }

    Files filesOf(std::uint64_t number) override {
        return {{"scenario", testkit::bytesOf(std::string(scenarios()[number % scenarios().size()].name) + "\n")}};
    }

private:
    Scene scene_;
};

}  // namespace

int main(int argc, char** argv) {
    return runPart("threads", argc, argv, [](const Options&) { return std::make_unique<Threads>(); });
}
