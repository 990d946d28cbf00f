// Tries to exceed each limit that docs/security.md promises, and holds the table against the drivers: a row without a
// driver, or with another number than its driver expects, is a finding.
//
// Case 0 compares the document, case 1 runs all drivers that wait at the same time, each further case one driver. Every
// driver has a process of its own, so that settings, caches and memory begin anew.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "proof/limits/document.h"

namespace proof {

void Probe::expect(bool holds, const std::string& what) {
    if (!holds) {
        report_.finding(promise_ + ": expected: " + what,
                        {{"promise", testkit::bytesOf(promise_ + "\n")}, {"expected", testkit::bytesOf(what + "\n")}});
    }
}

void Probe::expectWithin(double value, double least, double most, const std::string& what) {
    char text[120];
    std::snprintf(text, sizeof text, ", between %g and %g, not %g", least, most, value);
    expect(least <= value && value <= most, what + text);
}

void Probe::measured(const std::string& what, double value, const char* unit) const {
    std::printf("    %s: %s: %g%s%s\n", promise_.c_str(), what.c_str(), value, *unit != '\0' ? " " : "", unit);
    std::fflush(stdout);
}

namespace {

class Limits : public Part {
public:
    explicit Limits(const Options& options) : options_(options), rows_(readLimits(SECURITY_DOCUMENT)) {
        // Only for those who change a driver: runs those whose promise contains this text.
        const char* const wanted = std::getenv("TALLOW_LIMIT");
        for (const auto& group :
             {exchangeDrivers(), checkDrivers(), parsingDrivers(), certificateDrivers(), chainDrivers(),
              signerDrivers(), crlDrivers(), serverDrivers(), fileDrivers(), cacheDrivers(), listDrivers()}) {
            all_.insert(all_.end(), group.begin(), group.end());
        }
        for (const Driver& driver : all_) {
            if ((wanted == nullptr || std::strstr(driver.promise, wanted) != nullptr) &&
                !(options.quick && driver.isLong)) {
                (driver.seconds > 0 ? waiting_ : busy_).push_back(driver);
            }
        }
    }

    std::uint64_t caseCount() const override { return busy_.size() + 2; }

    void runCase(std::uint64_t number, Report& report) override {
        if (number == 0) {
            for (const std::string& what : disagreements(rows_, all_)) {
                report.finding(what, {{"document", testkit::bytesOf(SECURITY_DOCUMENT "\n")}});
            }
            report.count("rows", rows_.size());
            return;
        }
        std::vector<Started> started;
        for (const Driver& driver : number == 1 ? waiting_ : std::vector<Driver>{busy_.at(number - 2)}) {
            started.push_back(start(driver, report));
        }
        for (const Started& one : started) {
            end(one, report);
        }
    }

    std::chrono::seconds longestCase() const override { return kLongest; }

    Files filesOf(std::uint64_t number) override {
        return {{"promise", testkit::bytesOf(number < 2 ? "several\n" : nameOf(busy_.at(number - 2)) + "\n")}};
    }

private:
    struct Started {
        const Driver driver;
        pid_t process;
    };
    static constexpr std::chrono::seconds kLongest{100};

    static std::string nameOf(const Driver& driver) { return std::string(driver.input) + ": " + driver.promise; }

    Started start(const Driver& driver, Report& report) {
        std::fflush(nullptr);
        const pid_t process = ::fork();
        if (process < 0) {
            throw std::runtime_error("no process");
        }
        if (process == 0) {
            ::alarm(static_cast<unsigned>(kLongest.count()) - 5);
            Probe probe(nameOf(driver), report);
            probe.isQuick = options_.quick;
            probe.command = options_.command;
            try {
                driver.run(probe);
            } catch (const std::exception& failure) {
                probe.expect(false, std::string("no exception: ") + failure.what());
            }
            std::fflush(nullptr);
            ::_exit(0);  // servers may still be sending
        }
        return {driver, process};
    }

    static void end(const Started& started, Report& report) {
        int status = 0;
        ::rusage usage{};
        ::wait4(started.process, &status, 0, &usage);
        if (std::getenv("TALLOW_LIMIT") != nullptr) {
            std::printf("    %ld.%02ld s: %s\n", usage.ru_utime.tv_sec, usage.ru_utime.tv_usec / 10000,
                        nameOf(started.driver).c_str());
        }
        report.count("promises");
        if (status != 0) {
            report.finding(nameOf(started.driver) + ": wait status " + std::to_string(status),
                           {{"promise", testkit::bytesOf(nameOf(started.driver) + "\n")}});
        }
    }

    Options options_;
    std::vector<LimitRow> rows_;
    std::vector<Driver> all_, waiting_, busy_;
};

}  // namespace
}  // namespace proof

int main(int argc, char** argv) {
    return proof::runPart("limits", argc, argv,
                          [](const proof::Options& options) { return std::make_unique<proof::Limits>(options); });
}
