#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/settings_file.h"
#include "tests/support/vectors.h"

namespace testkit {
namespace {

struct CloseTrace {
    void operator()(TSupportDbContext_* context) const { support_print_done(context); }
};
using TracePtr = std::unique_ptr<TSupportDbContext_, CloseTrace>;

TracePtr openTrace() {
    return TracePtr(support_print_init(0, "ocsp", 0, 127));
}

std::vector<std::string> linesOf(const std::string& path) {
    std::ifstream text(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(Trace, FollowsChangesOfTheSettings) {
    const TracePtr trace = openTrace();
    const std::pair<const char*, unsigned int> rows[] = {{"", 0},
                                                         {"[trace]\nenabled = false\nlevels = 127\n", 0},
                                                         {"[trace]\nenabled = true\n", 8 + 1},
                                                         {"[trace]\nenabled = true\nlevels = 8\n", 8},
                                                         {"[trace]\nenabled = true\nlevels = 1\n", 1}};
    for (const auto& [text, levels] : rows) {
        SCOPED_TRACE(text);
        const SettingsFile settings(text);
        EXPECT_EQ(support_print_is(trace.get(), 8) != 0, (levels & 8) != 0);
        EXPECT_EQ(support_print_is(trace.get(), 1) != 0, (levels & 1) != 0);
        EXPECT_EQ(support_print_is(nullptr, 8), 0);
    }
}

TEST(Trace, WritesOneEscapedLine) {
    const TempDir folder;
    const std::string file = folder.file("trace.log");
    const SettingsFile settings("[trace]\nenabled = true\nfile = \"" + file + "\"\n");
    const TracePtr trace = openTrace();
    ASSERT_NE(support_print_is(trace.get(), 8), 0);
    SetLastError(4711);
    support_dprint_print_(trace.get(), "HTTP STATUS: %lu\n", "", 42, "SendOCSPRequest", 200UL);
    support_dprint_print_(trace.get(), "to \"%s\"", "", 7, "Send",
                          "a\x1B[31m\n\xC2\x9B\x7F\xC3\xA9\xE2\x80\xAE\xE2\x82\xAC");
    EXPECT_EQ(GetLastError(), 4711U);
    const std::vector<std::string> lines = linesOf(file);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0],
                testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3}Z [0-9]+ "
                                      "ocsp SendOCSPRequest:42 HTTP STATUS: 200"));
    EXPECT_NE(lines[1].find("to \"a\\x1B[31m\\x0A\\x9B\\x7F\xC3\xA9\\u{202E}\xE2\x82\xAC\""), std::string::npos)
        << lines[1];
}

TEST(Trace, HidesPasswordsOfAddresses) {
    const TempDir folder;
    const std::string file = folder.file("trace.log");
    ASSERT_EQ(support_trace_open(8, file.c_str()), 0);
    const TracePtr trace = openTrace();
    const auto traced = [&](const std::string& text) {
        support_dprint_print_(trace.get(), "%s\n", "", 1, "f", text.c_str());
        const std::string line = linesOf(file).back();
        return line.substr(line.find("f:1 ") + 4);
    };
    expectVectors("platform/traced_addresses.txt", {{"traced", traced}});
    support_trace_open(0, nullptr);
}

TEST(Trace, FallsBackToStandardError) {
    const TempDir folder;
    ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
    const int reader = ::open(folder.file("pipe").c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(support_trace_open(8, folder.file("pipe").c_str()), static_cast<int>(ERROR_ACCESS_DENIED));
    ::close(reader);
    const TracePtr trace = openTrace();
    for (const std::string& file : {folder.file("pipe"), folder.file("no/folder"), folder.file("")}) {
        const SettingsFile settings("[trace]\nenabled = true\nfile = \"" + file + "\"\n");
        testing::internal::CaptureStderr();
        EXPECT_NE(support_print_is(trace.get(), 8), 0);
        support_dprint_print_(trace.get(), "here\n", "", 1, "f");
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::EndsWith("f:1 here\n")) << file;
    }
}

TEST(Trace, ContextsStayValidWhenTheyAreClosed) {
    TSupportDbContext_* const context = support_print_init(0, "ocsp", 0, 127);
    support_print_done(context);
    EXPECT_EQ(openTrace().get(), context) << "each loading of a library would take memory";
    EXPECT_NE(support_print_init(0, "other", 0, 127), context);
}

TEST(Trace, KeepsLinesOfThreadsApart) {
    const TempDir folder;
    const std::string file = folder.file("trace.log");
    ASSERT_EQ(support_trace_open(8, file.c_str()), 0);
    const TracePtr trace = openTrace();
    const std::string text(3000, 'x');
    const auto write = [&] {
        for (int round = 0; round < 200; ++round) {
            support_dprint_print_(trace.get(), "%s\n", "", 1, "f", text.c_str());
        }
    };
    std::thread other(write);
    write();
    other.join();
    support_trace_open(0, nullptr);
    const std::vector<std::string> lines = linesOf(file);
    ASSERT_EQ(lines.size(), 400U);
    for (const std::string& line : lines) {
        ASSERT_EQ(line.size() - line.find(text), text.size());
    }
}

TEST(Trace, OpenedByTheProgramOverridesTheSettings) {
    const TempDir folder;
    const SettingsFile settings("");
    const TracePtr trace = openTrace();
    EXPECT_NE(support_trace_open(8, (folder.path() / "no" / "folder").c_str()), 0);
    EXPECT_EQ(support_print_is(trace.get(), 8), 0);
    ASSERT_EQ(support_trace_open(8, folder.file("trace.log").c_str()), 0);
    EXPECT_NE(support_print_is(trace.get(), 8), 0);
    const SettingsFile others("[trace]\nenabled = false\n");
    EXPECT_NE(support_print_is(trace.get(), 8), 0);
    support_trace_open(0, nullptr);
    EXPECT_EQ(support_print_is(trace.get(), 8), 0);
}

}  // namespace
}  // namespace testkit
