// `staple`: which response ends up in the file, when the responder is asked, the hook, and what servers make of it.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "cli/hook.h"
#include "cli/staple_result.h"
#include "tests/cli/command.h"

namespace {

using namespace testkit;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

class StapleCommand : public CommandTest {
protected:
    StapleCommand() { std::filesystem::create_directory(directory); }

    // A response whose validity began `age` seconds ago.
    static Bytes response(EntryStatus status, int age, int lifetime = 86400) {
        ResponseSpec spec = responseAbout(certs().good, status);
        spec.producedAt = spec.entries[0].thisUpdate = generalizedTimeText(-age);
        spec.entries[0].nextUpdate = generalizedTimeText(lifetime - age);
        spec.entries[0].revocationTime = generalizedTimeText(-age - 1);
        return buildResponse(spec);
    }
    ProcessResult staple(const Arguments& arguments = {}) const {
        return tallow.with(
            joined({"staple", "--trust", root, "--out", directory, "--url", responder.url(), leaf}, arguments));
    }

    HttpReply reply;
    const HttpServer responder{[this](const HttpRequest&) { return reply; }};
    const std::string directory = tallow.folder().file("staples");
    const std::string stored = directory + "/leaf.ocsp";
};

TEST_F(StapleCommand, WritesOnlyNewerResponsesAndKeepsAValidOne) {
    using enum EntryStatus;
    struct Row {
        const char* description;
        Bytes body;  // empty: status 500
        Arguments options;
        int exitStatus;
        const char* action;
    };
    const Bytes first = response(kGood, 2400);
    const Arguments all{"--write-revoked"};
    for (const Row& row : {
             Row{"no answer, no file", {}, {}, 3, "none\n    in the file:  missing"},
             Row{"revoked, no file", response(kRevoked, 2700), {}, 1, "none: responses that do not say good"},
             Row{"the first", first, {}, 0, "written\n"},
             Row{"the same again", first, {}, 0, "kept: the responder has no newer"},
             Row{"older", response(kGood, 2500), {}, 0, "kept: the response in the file is newer"},
             Row{"revoked", response(kRevoked, 600), {}, 1, "kept: responses that do not say good"},
             Row{"unknown", response(kUnknown, 600), {}, 2, "kept: responses that do not say good"},
             Row{"no answer", {}, {}, 0, "kept\n"},
             Row{"expired", response(kGood, 600, 60), {}, 0, "kept\n"},
             Row{"newer", response(kGood, 500), {}, 0, "written\n"},
             Row{"written on request", response(kRevoked, 400), all, 1, "written\n"},
             Row{"a replayed one", response(kGood, 450), all, 1, "kept: the response in the file is newer"},
             Row{"the hold is lifted", response(kGood, 300), {}, 0, "written\n"},
             Row{"unknown on request", response(kUnknown, 200), all, 2, "written\n"},
         }) {
        SCOPED_TRACE(row.description);
        reply = {.status = row.body.empty() ? 500 : 200, .body = row.body};
        const std::string before = contentOf(stored);
        const ProcessResult run = staple(row.options);
        EXPECT_EQ(run.exitStatus, row.exitStatus) << run.err;
        EXPECT_THAT(run.out, HasSubstr(std::string("action:       ") + row.action));
        const bool isWritten = row.action == std::string("written\n");
        EXPECT_EQ(contentOf(stored), isWritten ? std::string(row.body.begin(), row.body.end()) : before);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory), {}), 2);  // and the lock
}

// What proves nothing is not kept, and not served as good.
TEST_F(StapleCommand, ReplacesAFileThatProvesNothing) {
    reply.body = response(EntryStatus::kGood, 2400);
    const Bytes other = buildResponse(responseAbout(certs().revoked, EntryStatus::kGood));
    for (const Bytes& content : {response(EntryStatus::kGood, 600, 60), other, Bytes{}, Bytes(2 << 20, 'x')}) {
        std::ofstream(stored, std::ios::binary).write(reinterpret_cast<const char*>(content.data()), content.size());
        reply.status = 500;
        const ProcessResult failed = staple({"--if-due"});
        EXPECT_EQ(failed.exitStatus, 3);
        EXPECT_THAT(failed.out, HasSubstr("in the file:  not proven"));
        EXPECT_EQ(contentOf(stored).size(), content.size());
        reply.status = 200;
        EXPECT_THAT(staple().out, HasSubstr("written"));
    }
}

TEST_F(StapleCommand, AsksWhenTheValidityPeriodIsHalfOver) {
    struct Row {
        int age, lifetime;
        Arguments options;
        std::size_t numRequests;
    };
    for (const Row& row : {Row{100, 1000, {}, 0}, Row{600, 1000, {}, 1}, Row{100, 1000, {"--max-age", "150s"}, 1}}) {
        reply.body = response(EntryStatus::kGood, row.age, row.lifetime);
        std::filesystem::remove(stored);
        EXPECT_EQ(staple().exitStatus, 0);
        const std::size_t before = responder.requests().size();
        const ProcessResult run = staple(joined({"--if-due"}, row.options));
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(responder.requests().size() - before, row.numRequests);
        EXPECT_EQ(run.out.find("not due") != std::string::npos, row.numRequests == 0) << run.out;
    }
    const tallow::Time now = std::chrono::system_clock::now();
    const auto nextRun = [now](std::chrono::seconds from, std::optional<std::chrono::seconds> to) {
        tallow::cli::StapleFile file;
        file.verdict.answer = tallow::Answer::kGood;
        file.verdict.thisUpdate = now + from;
        file.verdict.nextUpdate = to ? std::optional(now + *to) : std::nullopt;
        return nextRunAfter(now, file, {}) - now;
    };
    EXPECT_EQ(nextRun(-24h, 6 * 24h), 2 * 24h + 12h);
    EXPECT_EQ(nextRun(-4 * 24h, 3 * 24h), 1h);
    EXPECT_EQ(nextRun(-60min, 30min), 15min);
    EXPECT_EQ(nextRun(-60min, 30s), 1min);
    EXPECT_EQ(nextRun(-10min, std::nullopt), 50min);
    EXPECT_EQ(nextRun(-24h, std::nullopt), 1h);
    EXPECT_EQ(tallow::cli::nextRunAfter(now, {}, {}) - now, 5min);
}

TEST_F(StapleCommand, RunsTheHookForEachChangeUntilItSucceeds) {
    const std::string log = tallow.folder().file("log");
    const std::string name = "a b';$(id)";
    const Bytes first = response(EntryStatus::kGood, 300), second = response(EntryStatus::kGood, 200);
    const auto run = [&](const Bytes& body, const std::string& end) {
        reply.body = body;
        return staple({"--name", name, "--hook", "printf '%s\\n' \"$@\" | tee -a " + log + "; " + end});
    };
    const ProcessResult failed = run(first, "exit 7");
    EXPECT_EQ(failed.exitStatus, 3);
    EXPECT_THAT(failed.err, HasSubstr("tallow: --hook: exit status 7; the next run runs it again"));
    EXPECT_THAT(failed.out, Not(HasSubstr(directory + "/" + name + ".ocsp\n" + directory)));
    EXPECT_THAT(run(first, "kill $$").err, HasSubstr("--hook: ended by signal 15"));  // no change, but not yet told
    EXPECT_EQ(run(first, "true").exitStatus, 0);
    EXPECT_EQ(run(first, "exit 7").exitStatus, 0);  // not run
    EXPECT_EQ(run(second, "true").exitStatus, 0);
    const std::string line = directory + "/" + name + ".ocsp\n";
    EXPECT_EQ(contentOf(log), line + line + line + line);
    EXPECT_EQ(tallow::cli::runHook("trap '' TERM; while :; do sleep 0.1; done", {}, 0s),
              "did not end within 0 s and was stopped");
    const std::string started = tallow.folder().file("started");
    EXPECT_EQ(tallow::cli::runHook("sleep 60 & echo $! >" + started + "; trap '' TERM; wait; wait", {}, 1s),
              "did not end within 1 s and was stopped");
    EXPECT_NE(::run({"sh", "-c", "kill -0 $(cat " + started + ")"}).exitStatus, 0);
    reply.status = 500;
    EXPECT_EQ(staple({"--name", "new", "--hook", "exit 7"}).exitStatus, 3);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory), {}), 2);  // and the lock
}

TEST_F(StapleCommand, WaitsForAnotherRunInItsDirectory) {
    reply.body = response(EntryStatus::kGood, 300);
    // A lock of the directory, which every reader can hold, does not count.
    const int reader = ::open(directory.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(reader, LOCK_EX), 0);
    EXPECT_EQ(staple({"--name", "first"}).exitStatus, 0);
    const std::string lock = directory + "/.tallow.lock";
    EXPECT_EQ(std::filesystem::status(lock).permissions(), std::filesystem::perms(0600));
    const int other = ::open(lock.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    expectOneLine(staple({"--timeout", "1"}), 3, {directory, "another run has been at work here for 1 s"});
    EXPECT_EQ(contentOf(stored), "");
    std::thread end([other] {
        std::this_thread::sleep_for(300ms);
        ::close(other);
    });
    EXPECT_EQ(staple().exitStatus, 0);
    end.join();
    ::close(reader);
    std::filesystem::remove(lock);
    std::filesystem::create_symlink(leaf, lock);
    expectOneLine(staple(), 3, {lock, "remove it"});
}

TEST_F(StapleCommand, ReportsWhatCannotBeWrittenAndGoesOn) {
    reply.body = response(EntryStatus::kGood, 300);
    const std::string both = tallow.file("both.pem", certs().good.certificatePem() + certs().revoked.certificatePem());
    std::filesystem::create_directories(directory + "/taken.ocsp");
    std::filesystem::create_directories(tallow.folder().file("sub"));
    std::filesystem::copy_file(leaf, tallow.folder().file("sub/leaf.crt"));
    EXPECT_EQ(run({"mkfifo", directory + "/fifo.ocsp"}).exitStatus, 0);
    const std::string fifo = tallow.file("fifo.pem", certs().good), taken = tallow.file("taken.pem", certs().good);
    const ProcessResult some = staple({both, fifo, taken, tallow.file("broken.pem", std::string("x"))});
    EXPECT_EQ(some.exitStatus, 3);
    EXPECT_EQ(numLines(some.err), 5U) << some.err;
    EXPECT_THAT(some.err,
                AllOf(HasSubstr("both.pem#1: keeping the response: is one of several certificates"),
                      HasSubstr("fifo.ocsp: cannot be written: is no regular file"),
                      HasSubstr("taken.ocsp: cannot be written: is no regular file"), HasSubstr("broken.pem: ")));
    EXPECT_EQ(contentOf(stored), std::string(reply.body.begin(), reply.body.end()));
    const Arguments to{"staple", "--out", directory};
    for (const Mistake& row : {
             Mistake{{"staple", leaf}, "--out"},
             Mistake{{"staple", "--out", leaf, leaf}, "leaf.pem: is no directory"},
             Mistake{joined(to, {"--url", "x", leaf}), "--url"},
             Mistake{joined(to, {"--name", "a/b", leaf}), "--name a/b: is no name"},
             Mistake{joined(to, {"--name", "x", leaf, taken}), "with --name"},
             Mistake{joined(to, {leaf, tallow.folder().file("sub/leaf.crt")}), "with --name"},
         }) {
        expectMistake(tallow.with(row.arguments), row.words);
    }
}

}  // namespace
