// Help pages, and the explanations of statuses.
#include <sstream>

#include "tests/cli/command.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

std::size_t longestLine(const std::string& text) {
    std::istringstream lines(text);
    std::size_t longest = 0;
    for (std::string line; std::getline(lines, line);) {
        longest = std::max(longest, line.size());
    }
    return longest;
}

TEST(HelpCommand, PrintsThePageOfEachCommandIn80Columns) {
    for (const Arguments& command : {Arguments{},
                                     {"check"},
                                     {"request"},
                                     {"send"},
                                     {"verify"},
                                     {"verify-request"},
                                     {"staple"},
                                     {"show"},
                                     {"store"},
                                     {"store", "add"},
                                     {"settings"},
                                     {"explain"}}) {
        const ProcessResult run = Command::plain(joined({"help"}, command));
        const std::string usage = command.empty() ? "tallow COMMAND" : "tallow " + command.front();
        SCOPED_TRACE(usage);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_THAT(run.out, StartsWith("Usage: " + usage));
        EXPECT_LE(longestLine(run.out), 80U);
        EXPECT_EQ(run.out, Command::plain(joined(command, {"--help"})).out);
    }
}

TEST(Version, NamesTheLibrariesInUse) {
    const std::string number = "[0-9]+\\.[0-9]+\\.[0-9]+";
    EXPECT_THAT(Command::plain({"--version"}).out,
                MatchesRegex("tallow " + number + "\nOpenSSL: " + number + " .built with " + number +
                             ".\nlibcurl: built with [^\n]*/libtallow-http[^\n]+\nhiredis: [^\n]+\nGOST: [^\n]+\n"));
}

TEST(Explain, AcceptsEachFormOfACode) {
    for (const char* code :
         {"0xC2110122", "0XC2110122", "c2110122", "NotCurrent", "NOTCURRENT", "-1039072990", "3255894306"}) {
        SCOPED_TRACE(code);
        const ProcessResult run = Command::plain({"explain", code});
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_THAT(run.out,
                    StartsWith("0xC2110122 NotCurrent\n\nThe response is not current.\n\nUsual causes:\n  - "));
        EXPECT_THAT(run.out, HasSubstr("\nWhat to do:\n  - Compare the clock"));
    }
    EXPECT_EQ(Command::plain({"explain", "0"}).exitStatus, 0);
}

TEST(Explain, ListsAllStatusesWithoutACode) {
    const ProcessResult run = Command::plain({"explain"});
    EXPECT_THAT(run.out, AllOf(HasSubstr("0x80093100 BadEncoding: "), HasSubstr("0x00000570 PathNotConverted: ")));
    EXPECT_THAT(run.out, MatchesRegex("(0x[0-9A-F]{8} [A-Za-z0-9]+: [^;\n]+\n)+"));
}

TEST(Explain, NamesTheRangeOfAnUnknownCode) {
    for (const Mistake& row : {
             Mistake{{"explain", "0x8007000A"}, "system error n, here 10: No child processes"},
             Mistake{{"explain", "0x80070FFF"}, "system error n, here 4095\n"},
             Mistake{{"explain", "-2146885620"}, "this is 0x8009200C, which is not in the list"},
             Mistake{{"explain", "0xC2119999"}, "0xC211nnnn"},
             Mistake{{"explain", "0x12345678"}, "codes begin with"},
             Mistake{{"explain", "0x1C2110122"}, "not a status"},
             Mistake{{"explain", "NotCurent"}, "did you mean NotCurrent?"},
             Mistake{{"explain", "nonsense-x"}, "lists them all"},
         }) {
        expectMistake(Command::plain(row.arguments), row.words);
    }
}

}  // namespace
