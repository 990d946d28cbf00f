// One process that gives a million verdicts and makes fifty thousand exchanges. What it occupies must not grow: heap,
// resident memory, descriptors, sockets and threads.
#include <dirent.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>

#include "checker/checker.h"
#include "platform/support/support_service.h"
#include "proof/common/part.h"
#include "tests/support/http_server.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"

namespace proof {

namespace {

using tallow::Answer;
using tallow::Verdict;
using testkit::EntrySpec;
using testkit::EntryStatus;
using testkit::HttpReply;
using testkit::ResponseSpec;

// A case is a thousand verdicts, fifty exchanges and twenty certificates never seen before.
constexpr std::uint64_t kCases = 1000;
constexpr int kVerdicts = 1000;
constexpr int kExchanges = 50;
constexpr int kNewCertificates = 20;
// Until most of the 512 places for certificates are taken. What fills the others is within the growth allowed, which is
// two octets for each verdict.
constexpr std::uint64_t kWarmUp = 40;
constexpr std::size_t kMostHeapGrowth = std::size_t{2} << 20;
constexpr std::size_t kMostResidentGrowth = std::size_t{8} << 20;
constexpr std::size_t kMostConnections = 16;

struct Occupied {
    std::size_t heap = 0, resident = 0;  // octets
    std::size_t descriptors = 0, threads = 0;
};

std::size_t entriesIn(const char* path) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path), ::closedir);
    std::size_t number = 0;
    while (folder != nullptr && ::readdir(folder.get()) != nullptr) {
        ++number;
    }
    return number;
}

Occupied occupiedNow() {
    Occupied now;
    now.heap = ::mallinfo2().uordblks;
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> now.resident;
    now.resident *= static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    now.descriptors = entriesIn("/proc/self/fd");
    now.threads = entriesIn("/proc/self/task");
    return now;
}

// A server in a process of its own, so that what it occupies does not count. It gives each path another reply.
class ServerProcess {
public:
    explicit ServerProcess(const Bytes& good) {
        std::array<int, 2> pipe{};
        if (::pipe(pipe.data()) != 0 || (child_ = ::fork()) < 0) {
            throw std::runtime_error("cannot start a server");
        }
        if (child_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            const testkit::HttpServer server([&](const testkit::HttpRequest& request) {
                const std::string& path = request.target;
                return path == "/good"       ? HttpReply{.body = good, .after = testkit::AfterReply::kNextRequest}
                       : path == "/chunked"  ? HttpReply{.body = good, .framing = testkit::BodyFraming::kChunked}
                       : path == "/cut"      ? HttpReply{.body = good, .cutBodyAfter = 10}
                       : path == "/silent"   ? HttpReply{.closeAtOnce = true}
                       : path == "/redirect" ? testkit::redirectTo("/good")
                       : path == "/loop"     ? testkit::redirectTo("/loop")
                       : path == "/text"     ? HttpReply{.body = testkit::bytesOf("no response")}
                                             : HttpReply{.status = 500};
            });
            const int port = server.port();
            static_cast<void>(::write(pipe[1], &port, sizeof port));
            ::close(pipe[1]);
            for (;;) {
                ::pause();
            }
        }
        ::close(pipe[1]);
        int port = 0;
        const bool isRunning = ::read(pipe[0], &port, sizeof port) == sizeof port;
        ::close(pipe[0]);
        if (!isRunning) {
            throw std::runtime_error("the server did not start");
        }
        url_ = "http://127.0.0.1:" + std::to_string(port);
    }
    ~ServerProcess() {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    const std::string& url() const { return url_; }

private:
    pid_t child_ = -1;
    std::string url_;
};

struct Stored {
    Bytes response;
    Answer expected;
};

class Soak : public Part {
public:
    Soak() {
        if (support_settings_open("/dev/null") != 0) {
            throw std::runtime_error("no settings");
        }
    }

    std::uint64_t caseCount() const override { return kCases; }

    void runCase(std::uint64_t number, Report& report) override {
        if (checker_ == std::nullopt) {
            checker_.emplace(trust(), tallow::Options{.downloads = false});
        }
        verdicts(report);
        newCertificates(report);
        exchanges(report);
        compare(number, report);
    }

    Files filesOf(std::uint64_t /*number*/) override { return {}; }

private:
    tallow::Trust trust() const {
        return tallow::Trust().addRoots(pki_.root.certificate).addCrls(rootCrl_).addCrls(caCrl_);
    }
    static void expect(Report& report, const Verdict& verdict, Answer expected, const Bytes& response) {
        report.count("verdicts");
        if (verdict.answer != expected) {
            report.finding("another verdict: " + verdict.why(), {{"response.der", response}});
        }
    }

    Bytes responseAbout(EntryStatus status, const testkit::Identity& signer) const {
        ResponseSpec response(signer, {EntrySpec(testkit::certIdOf(pki_.good, pki_.ca), status)});
        response.entries[0].nextUpdate = testkit::generalizedTimeText(7L * 24 * 3600);
        return testkit::buildResponse(response);
    }
    testkit::Identity delegate() const {
        return testkit::issue(pki_.ca, {.commonName = "new delegate", .extendedKeyUsage = "OCSPSigning"});
    }
    std::vector<Stored> storedOnes() const {
        const testkit::Identity signer = delegate();
        std::vector<Stored> all{{responseAbout(EntryStatus::kGood, signer), Answer::kGood},
                                {responseAbout(EntryStatus::kRevoked, signer), Answer::kRevoked},
                                {responseAbout(EntryStatus::kUnknown, signer), Answer::kUnknown},
                                {responseAbout(EntryStatus::kGood, pki_.ca), Answer::kGood},
                                {responseAbout(EntryStatus::kGood, pki_.sibling), Answer::kUnproven},
                                {testkit::bytesOf("no response"), Answer::kUnproven}};
        all.push_back({all[0].response, Answer::kUnproven});
        all.back().response[all.back().response.size() / 3] ^= 1;
        return all;
    }

    // Every tenth with a checker of its own.
    void verdicts(Report& report) const {
        const tallow::Stored about{.certificate = pki_.good.certificate, .issuer = pki_.ca.certificate};
        for (int i = 0; i < kVerdicts; ++i) {
            const Stored& next = stored_[static_cast<std::size_t>(i) % stored_.size()];
            const Verdict verdict =
                i % 10 == 0 ? tallow::Checker(trust(), {.downloads = false}).verify(next.response, about).at(0)
                            : checker_->verify(next.response, about).at(0);
            expect(report, verdict, next.expected, next.response);
        }
    }

    void newCertificates(Report& report) const {
        const tallow::Stored about{.certificate = pki_.good.certificate, .issuer = pki_.ca.certificate};
        for (int i = 0; i < kNewCertificates; ++i) {
            const Bytes response = responseAbout(EntryStatus::kGood, delegate());
            expect(report, checker_->verify(response, about).at(0), Answer::kGood, response);
        }
    }

    void exchanges(Report& report) const {
        struct Row {
            const char* path;
            Answer expected;
        };
        constexpr std::array kRows{Row{"/good", Answer::kGood},     Row{"/good", Answer::kGood},
                                   Row{"/chunked", Answer::kGood},  Row{"/redirect", Answer::kGood},
                                   Row{"/cut", Answer::kUnproven},  Row{"/silent", Answer::kUnproven},
                                   Row{"/loop", Answer::kUnproven}, Row{"/text", Answer::kUnproven},
                                   Row{"/500", Answer::kUnproven},  Row{"/good", Answer::kGood}};
        for (int i = 0; i < kExchanges; ++i) {
            const Row& row = kRows[static_cast<std::size_t>(i) % kRows.size()];
            const tallow::Checker checker(
                trust(), {.responders = {server_.url() + row.path}, .nonce = tallow::Nonce::kOff, .downloads = false});
            expect(report, checker.check(pki_.good.certificate, pki_.ca.certificate), row.expected, {});
            report.count("exchanges");
        }
    }

    void compare(std::uint64_t number, Report& report) {
        ++numCases_;
        const Occupied now = occupiedNow();
        if (numCases_ == kWarmUp) {
            start_ = now;
        }
        if (numCases_ % 50 == 0) {
            std::printf("case %llu: heap %zu KiB, resident %zu KiB, %zu descriptors, %zu threads\n",
                        static_cast<unsigned long long>(number), now.heap >> 10U, now.resident >> 10U, now.descriptors,
                        now.threads);
        }
        if (!start_ || isReported_) {
            return;
        }
        report.count("comparisons of what is occupied");
        isReported_ = now.heap > start_->heap + kMostHeapGrowth ||
                      now.resident > start_->resident + kMostResidentGrowth ||
                      now.descriptors > start_->descriptors + kMostConnections || now.threads > start_->threads;
        if (isReported_) {
            report.finding("growth: heap " + std::to_string(start_->heap) + " to " + std::to_string(now.heap) +
                               ", resident " + std::to_string(start_->resident) + " to " +
                               std::to_string(now.resident) + ", descriptors " + std::to_string(start_->descriptors) +
                               " to " + std::to_string(now.descriptors) + ", threads " +
                               std::to_string(start_->threads) + " to " + std::to_string(now.threads),
                           {});
        }
    }

    const testkit::Pki& pki_ = testkit::Pki::shared();
    const Bytes rootCrl_ = testkit::makeCrl(pki_.root, {.nextUpdateSeconds = 7L * 24 * 3600});
    const Bytes caCrl_ = testkit::makeCrl(pki_.ca, {.nextUpdateSeconds = 7L * 24 * 3600});
    const std::vector<Stored> stored_ = storedOnes();
    const ServerProcess server_{stored_[0].response};
    std::optional<tallow::Checker> checker_;
    std::uint64_t numCases_ = 0;
    std::optional<Occupied> start_;
    bool isReported_ = false;
};

}  // namespace

}  // namespace proof

int main(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    // One process, whatever --jobs says.
    std::string jobs = "--jobs";
    std::string one = "1";
    arguments.push_back(jobs.data());
    arguments.push_back(one.data());
    return proof::runPart("soak", static_cast<int>(arguments.size()), arguments.data(),
                          [](const proof::Options&) { return std::make_unique<proof::Soak>(); });
}
