// What `settings` prints, and what the other commands do when the settings are broken.
#include <map>
#include <sstream>

#include "tests/cli/command.h"
#include "tests/support/vectors.h"

namespace {

using namespace testkit;

struct Line {
    std::string value;  // empty when the key is commented out
    std::string remark;
};

// Keys as "table.name". A line is "key = value   # remark", or "# key   # remark" for a key without a value.
std::map<std::string, Line> parse(const std::string& toml) {
    std::map<std::string, Line> lines;
    std::istringstream text(toml);
    std::string table;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with('[')) {
            table = line.substr(1, line.find(']') - 1) + ".";
        } else if (!line.empty()) {
            const std::size_t remark = line.rfind("# ");
            const std::string setting = line.substr(0, line.find_last_not_of(' ', remark - 1) + 1);
            const std::size_t equals = setting.find(" = ");
            const bool hasValue = equals != std::string::npos;
            lines[table + (hasValue ? setting.substr(0, equals) : setting.substr(2))] = {
                hasValue ? setting.substr(equals + 3) : "", line.substr(remark + 2)};
        }
    }
    return lines;
}

std::map<std::string, Line> settingsOf(const std::string& file) {
    const ProcessResult run = Command::plain({"settings", "--settings", file});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    return parse(run.out);
}

TEST(SettingsCommand, PrintsTheValuesOfTheExampleAsDefaults) {
    const TempDir folder;
    const auto defaults = settingsOf(folder.write("empty.toml", std::string_view()));
    const auto example = settingsOf("../settings.example.toml");
    ASSERT_GT(defaults.size(), 60U);
    for (const auto& [key, line] : defaults) {
        SCOPED_TRACE(key);
        EXPECT_THAT(line.remark, testing::StartsWith("default"));
        EXPECT_EQ(example.at(key).value, line.value);
        const bool isAbsent = line.value.empty() || key == "crypto.user_stores" || key == "crypto.url_cache";
        EXPECT_EQ(example.at(key).remark, isAbsent ? line.remark : "set");
    }
}

TEST(SettingsCommand, MarksWhatIsSetAndWhatIsOutOfRange) {
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
    const auto shown = [&](const std::string& key) { return settings.at(key).value + "; " + settings.at(key).remark; };
    expectVectors("cli/settings.txt", {{"setting", shown}});
    // The output is a settings file with the same values.
    const auto again = settingsOf(folder.write("again.toml", Command::plain({"settings", "--settings", file}).out));
    for (const auto& [key, line] : settings) {
        EXPECT_EQ(again.at(key).value, line.value) << key;
        EXPECT_THAT(again.at(key).remark, testing::StartsWith(line.value.empty() ? "default: absent" : "set")) << key;
    }
}

TEST(SettingsCommand, RejectsABrokenFileAndValuesOfTheWrongType) {
    const TempDir folder;
    for (const char* content : {"[crypto\n", "[trace]\nlevels = \"all\"\n"}) {
        expectMistake(Command::plain({"settings", "--settings", folder.write("broken.toml", content)}), "broken.toml:");
    }
}

// Whichever step reads the value first, the settings are reported as the cause, once.
TEST(Settings, FoundBrokenWhileInUseAreReportedAndGiveNoVerdict) {
    const HttpServer server = serverOf(goodResponse());
    struct Row {
        const char* content;
        int exitStatusOfVerify;  // 0 when nothing reads the value
    };
    for (const Row& row : {Row{"max_crl_age = 'x'", 3}, Row{"max_responders = '8'", 3}, Row{"max_redirects = 'x'", 0},
                           Row{"[config.cades.ocsppolicy]\nNocheckOCSPs = 5", 3},
                           Row{"[config.cades.ocsppolicy]\nRequireNonce = 'yes'", 3}}) {
        SCOPED_TRACE(row.content);
        const Command tallow(std::string(row.content) + '\n');
        const std::string root = tallow.file("root.pem", certs().root);
        const std::string response = tallow.file("response.der", buildResponse(goodResponse()));
        const std::string leaf = tallow.file("leaf.pem", certs().good);
        for (const auto& [run, exitStatus] :
             {std::pair(tallow.check({"--no-nonce", "--url", server.url(), leaf}), 3),
              std::pair(tallow.with({"verify", "--trust", root, response}), row.exitStatusOfVerify)}) {
            EXPECT_EQ(run.exitStatus, exitStatus) << run.err;
            const std::size_t at = run.err.find("settings.toml:");
            EXPECT_EQ(at == std::string::npos, exitStatus == 0) << run.err;
            EXPECT_EQ(run.err.find("settings.toml:", at + 1), std::string::npos) << run.err;
        }
    }
}

}  // namespace
