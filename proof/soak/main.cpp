// One process that gives a million verdicts and makes fifty thousand exchanges. What it occupies must not grow: heap,
// resident memory, descriptors, sockets and threads.
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
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

// A case is two hundred verdicts, ten exchanges and four certificates never seen before.
constexpr std::uint64_t kCases = 5000;
constexpr int kVerdicts = 200;
constexpr int kNewCertificates = 4;
// The first cases fill what the library remembers: 512 places for certificates.
constexpr std::uint64_t kWarmUp = 25;
constexpr int kNewWhileWarmingUp = 120;
// What was measured without a leak, several times over.
constexpr std::size_t kMostHeapGrowth = std::size_t{64} << 10;
constexpr std::size_t kMostResidentGrowth = std::size_t{1} << 20;
constexpr std::size_t kMostNewDescriptors = 2;

struct Occupied {
    std::size_t heap = 0, resident = 0;  // octets
    std::size_t descriptors = 0, sockets = 0, threads = 0;

    bool exceeds(const Occupied& start) const {
        return heap > start.heap + kMostHeapGrowth || resident > start.resident + kMostResidentGrowth ||
               descriptors > start.descriptors + kMostNewDescriptors || threads > start.threads;
    }
    std::string text() const {
        return "heap " + std::to_string(heap) + ", resident " + std::to_string(resident) + ", " +
               std::to_string(descriptors) + " descriptors, " + std::to_string(sockets) + " of them sockets, " +
               std::to_string(threads) + " threads";
    }
};

std::size_t entriesIn(const char* path) {
    const std::filesystem::directory_iterator entries(path);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

Occupied occupiedNow() {
    Occupied now;
    const struct mallinfo2 blocks = ::mallinfo2();
    now.heap = blocks.uordblks + blocks.hblkhd;
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> now.resident;
    now.resident *= static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code isClosed;  // it lists the descriptor that it is read with
        now.sockets += std::filesystem::read_symlink(entry, isClosed).string().starts_with("socket:");
        ++now.descriptors;
    }
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
        newCertificates(report, ++numCases_ <= kWarmUp ? kNewWhileWarmingUp : kNewCertificates);
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

    void newCertificates(Report& report, int number) const {
        const tallow::Stored about{.certificate = pki_.good.certificate, .issuer = pki_.ca.certificate};
        for (int i = 0; i < number; ++i) {
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
        for (const Row& row : kRows) {
            const tallow::Checker checker(
                trust(), {.responders = {server_.url() + row.path}, .nonce = tallow::Nonce::kOff, .downloads = false});
            expect(report, checker.check(pki_.good.certificate, pki_.ca.certificate), row.expected, {});
            report.count("exchanges");
        }
    }

    void compare(std::uint64_t number, Report& report) {
        const Occupied now = occupiedNow();
        if (numCases_ == kWarmUp) {
            start_ = now;
        }
        if (numCases_ == kWarmUp || numCases_ % 100 == 0) {
            std::printf("case %llu: %s\n", static_cast<unsigned long long>(number), now.text().c_str());
            std::fflush(stdout);
        }
        if (!start_ || isReported_) {
            return;
        }
        report.count("comparisons of what is occupied");
        isReported_ = now.exceeds(*start_);
        if (isReported_) {
            report.finding("growth in " + std::to_string(numCases_ - kWarmUp) + " cases from " + start_->text() +
                               " to " + now.text(),
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
