// Responses for a server that staples, and requests that are sent as they are.
#include <condition_variable>
#include <mutex>
#include <thread>

#include "checker/stapling.h"
#include "tests/checker/checker_fixture.h"

namespace testkit {
namespace {

using namespace std::chrono_literals;
using CheckerStapling = CheckerTest;

// keepStapled on a thread of its own, and what it passed on.
class Stapling {
public:
    Stapling(const Checker& checker, const Pki& pki)
        : thread_([this, checker, &pki](const std::stop_token& stop) {
              keepStapled(checker, pki.good.certificate, pki.ca.certificate, stop,
                          [this](const Bytes& staple, const Verdict& last) {
                              const std::lock_guard lock(mutex_);
                              used_.emplace_back(staple, last.answer);
                              changed_.notify_all();
                          });
          }) {}
    // The first `count` calls; fewer when they do not come.
    std::vector<std::pair<Bytes, Answer>> wait(std::size_t count) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, 20s, [&] { return used_.size() >= count; });
        return used_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::pair<Bytes, Answer>> used_;
    std::jthread thread_;  // stopped and joined first
};

TEST_F(CheckerStapling, ReplacesAStapleAndWithdrawsARevokedOne) {
    const Bytes first = buildResponse(goodAt(-60, 3));
    const Bytes second = buildResponse(goodAt(-30, 3));
    const Bytes revoked = buildResponse(about(pki.good, EntryStatus::kRevoked));
    int count = 0;
    const Checker checker(own(), {.responders = {url}, .exchange = [&](auto&&...) {
                                      return std::vector{first, second, revoked}[std::min(count++, 2)];
                                  }});
    Stapling stapling(checker, pki);
    const auto used = stapling.wait(3);
    ASSERT_EQ(used.size(), 3U);
    EXPECT_EQ(used[0], std::pair(first, Answer::kGood));
    EXPECT_EQ(used[1], std::pair(second, Answer::kGood));
    EXPECT_EQ(used[2], std::pair(Bytes(), Answer::kRevoked));
}

TEST_F(CheckerStapling, WithdrawsAStapleThatExpired) {
    const Bytes body = buildResponse(goodAt(-60, 3));
    std::atomic<int> count = 0;
    const Checker checker(own(), {.responders = {url}, .exchange = [&](auto&&...) {
                                      return count++ == 0 ? std::optional(body) : std::nullopt;
                                  }});
    Stapling stapling(checker, pki);
    const auto used = stapling.wait(2);
    ASSERT_EQ(used.size(), 2U);
    EXPECT_EQ(used[0].first, body);
    EXPECT_EQ(used[1], std::pair(Bytes(), Answer::kUnproven));
    EXPECT_GE(count, 3) << "asked again before it expired";
}

TEST_F(CheckerStapling, EndsWhenItIsStopped) {
    std::stop_source stop;
    const Checker checker(own(), {.responders = {url}, .exchange = answering(good())});
    int numUsed = 0;
    const auto use = [&](const Bytes&, const Verdict&) {
        ++numUsed;
        stop.request_stop();
    };
    keepStapled(checker, pki.good.certificate, pki.ca.certificate, stop.get_token(), use);
    keepStapled(checker, pki.good.certificate, pki.ca.certificate, stop.get_token(), use);
    EXPECT_EQ(numUsed, 1);
    EXPECT_NE(
        badInput([&] { keepStapled(checker, "rubbish", pki.ca.certificate, std::stop_source().get_token(), use); }), 0);
}

TEST_F(CheckerStapling, SendsARequestAsItIs) {
    HttpServer server(serving(good()));
    HttpServer liar(
        [this](const HttpRequest&) { return HttpReply{.body = buildResponse(about(pki.good, EntryStatus::kGood))}; });
    const Checker checker(own(), {.responders = {url}});
    const Bytes request = checker.ask(pki.good.certificate, pki.ca.certificate).request();
    const tallow::Sent sent = checker.send(request, server.url());
    EXPECT_EQ(sent.status, 0) << sent.cause;
    EXPECT_FALSE(sent.answer.empty());
    EXPECT_EQ(server.requests()[0].body, request);
    for (const std::string& where : {"http://127.0.0.1:" + std::to_string(closedPort()) + "/", std::string(),
                                     std::string("file:///etc/passwd"), std::string("http://[")}) {
        const tallow::Sent failed = checker.send(request, where);
        EXPECT_NE(failed.status, 0) << where;
        EXPECT_TRUE(failed.answer.empty());
        EXPECT_NE(failed.cause, "");
    }
    EXPECT_NE(checker.send("rubbish", server.url()).status, 0);
}

}  // namespace
}  // namespace testkit
