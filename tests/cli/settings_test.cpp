// `settings` against the example file, and against settings of its own.
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

#include "tests/cli/command.h"
#include "tests/support/http_server.h"

namespace {

using namespace testkit;

struct Line {
    std::string value;  // empty when the key is commented out
    std::string remark;
};

// Where a value ends: a string at its quote, a list at its bracket, all else at a blank.
std::size_t endOfValue(const std::string& line, std::size_t begin) {
    if (line[begin] == '[') {
        return line.find(']', begin) + 1;
    }
    if (line[begin] != '"') {
        return std::min(line.find(' ', begin), line.size());
    }
    std::size_t end = begin + 1;
    while (line[end] != '"') {
        end += line[end] == '\\' ? 2 : 1;
    }
    return end + 1;
}

// Keys as "table.name", of settings as people write them or as the command prints them; prose is passed over.
std::map<std::string, Line> parse(const std::string& toml) {
    std::map<std::string, Line> lines;
    std::istringstream text(toml);
    std::string table;
    std::string line;
    while (std::getline(text, line)) {
        if (line.starts_with('[')) {
            table = line.substr(1, line.find(']') - 1) + ".";
            continue;
        }
        const bool isComment = line.starts_with("# ");
        const std::size_t name = isComment ? 2 : 0;
        const std::size_t nameEnd = std::min(line.find(' ', name), line.size());
        const bool hasValue = line.compare(nameEnd, 3, " = ") == 0;
        const std::size_t valueEnd = hasValue ? endOfValue(line, nameEnd + 3) : nameEnd;
        const std::size_t remark = line.find("# ", valueEnd);
        const std::string said = remark == std::string::npos ? "" : line.substr(remark + 2);
        if (hasValue || (isComment && said.starts_with("default"))) {
            const std::string value = isComment ? "" : line.substr(nameEnd + 3, valueEnd - nameEnd - 3);
            lines[table + line.substr(name, nameEnd - name)] = {value, said};
        }
    }
    return lines;
}

std::map<std::string, Line> settingsOf(const std::string& file) {
    const ProcessResult run = Command::plain({"settings", "--settings", file});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    return parse(run.out);
}

TEST(SettingsCommand, KnowsEveryKeyOfTheExampleWithItsDefault) {
    const TempDir folder;
    std::ostringstream example;
    example << std::ifstream("../settings.example.toml").rdbuf();
    const auto expected = parse(example.str());
    const auto actual = settingsOf(folder.write("empty.toml", std::string_view()));
    ASSERT_GT(expected.size(), 60U);
    for (const auto& [key, line] : expected) {
        SCOPED_TRACE(key);
        ASSERT_EQ(actual.count(key), 1U);
        EXPECT_THAT(actual.at(key).remark, testing::StartsWith("default"));
        if (!line.value.empty()) {
            EXPECT_EQ(actual.at(key).value, line.value);
        }
    }
    EXPECT_EQ(actual.size(), expected.size());
}

TEST(SettingsCommand, TellsSetFromDefaultAndWhatDoesNotCount) {
    const TempDir folder;
    const std::string file = folder.write("settings.toml",
                                          "[config.cades.ocsppolicy]\n"
                                          "NonceLength = 16\n"
                                          "ResponseAccuracy = 429497\n"
                                          "ThisUpdateAccuracyUnits = 0\n"
                                          "UseNonceByDefault = 0\n"
                                          "DefaultProxy = \"a\\\"b\\\\c\\u001b\"\n"
                                          "AllowedOCSPs = [\"http://a/\", \"\"]\n"
                                          "NocheckOCSPs = []\n"
                                          "[crypto]\n"
                                          "max_redirects = 21\n");
    const auto settings = settingsOf(file);
    struct Row {
        const char* key;
        const char* value;
        const char* remark;
    };
    for (const Row& row :
         {Row{"config.cades.ocsppolicy.NonceLength", "16", "set"},
          Row{"config.cades.ocsppolicy.UseNonceByDefault", "false", "set"},
          Row{"config.cades.ocsppolicy.ResponseAccuracy", "429497",
              "set; out of bounds and used all the same, so correct it: 0 to 429496"},
          Row{"config.cades.ocsppolicy.ThisUpdateAccuracyUnits", "0",
              "set; out of bounds and used all the same, so correct it: 1 to 2147483647"},
          Row{"config.cades.ocsppolicy.DefaultProxy", "\"a\\\"b\\\\c\\u001B\"", "set"},
          Row{"config.cades.ocsppolicy.AllowedOCSPs", "[\"http://a/\", \"\"]", "set"},
          Row{"config.cades.ocsppolicy.NocheckOCSPs", "[]", "set"},
          Row{"config.cades.ocsppolicy.DeniedOCSPs", "", "default: absent"},
          Row{"crypto.max_redirects", "3", "default; the number in the file is ignored: out of range 0 to 20"},
          Row{"trace.levels", "127", "default"}}) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(settings.at(row.key).value, row.value);
        EXPECT_EQ(settings.at(row.key).remark, row.remark);
    }
    // What is printed says the same when it is read as settings.
    const auto again = settingsOf(folder.write("again.toml", Command::plain({"settings", "--settings", file}).out));
    for (const auto& [key, line] : settings) {
        EXPECT_EQ(again.at(key).value, line.value) << key;
        EXPECT_THAT(again.at(key).remark, testing::StartsWith(line.value.empty() ? "default: absent" : "set")) << key;
    }
}

TEST(SettingsCommand, RefusesAFileThatIsBrokenOrHoldsAValueOfTheWrongKind) {
    const TempDir folder;
    for (const char* content : {"[crypto\n", "[trace]\nlevels = \"all\"\n"}) {
        expectMistake(Command::plain({"settings", "--settings", folder.write("broken.toml", content)}), "broken.toml:");
    }
}

// Whatever step reads the value first and whatever it makes of it, the settings are what is told, once.
TEST(Settings, ThatProveBrokenWhileInUseAreToldAndGiveNoVerdict) {
    const HttpServer server([](const HttpRequest&) { return HttpReply{.body = buildResponse(goodResponse())}; });
    for (const char* content :
         {"max_crl_age = 'x'", "max_responders = '8'", "max_redirects = 'x'",
          "[config.cades.ocsppolicy]\nNocheckOCSPs = 5", "[config.cades.ocsppolicy]\nRequireNonce = 'yes'"}) {
        SCOPED_TRACE(content);
        const Command tallow(std::string(content) + '\n');
        const std::string root = tallow.file("root.pem", certs().root);
        const std::string response = tallow.file("response.der", buildResponse(goodResponse()));
        for (const ProcessResult& run :
             {tallow.check({"--no-nonce", "--url", server.url(), tallow.file("leaf.pem", certs().good)}),
              tallow.with({"verify", "--trust", root, response})}) {
            const std::size_t at = run.err.find("settings.toml:");
            EXPECT_EQ(at == std::string::npos, run.exitStatus == 0) << run.err;
            EXPECT_EQ(run.err.find("settings.toml:", at + 1), std::string::npos) << run.err;
            EXPECT_TRUE(run.exitStatus == 0 || run.exitStatus == 3) << run.exitStatus;
        }
    }
}

}  // namespace
