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
        EXPECT_THAT(example.at(key).remark,
                    testing::StartsWith(isAbsent ? line.remark : "set in ../settings.example.toml:"));
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
    const auto shown = [&](const std::string& key) {
        std::string remark = settings.at(key).remark;
        if (const std::size_t at = remark.find(file); at != std::string::npos) {
            remark.replace(at, file.size(), "FILE");
        }
        return settings.at(key).value + "; " + remark;
    };
    expectVectors("cli/settings.txt", {{"setting", shown}});
    // The output is a settings file with the same values.
    const auto again = settingsOf(folder.write("again.toml", Command::plain({"settings", "--settings", file}).out));
    for (const auto& [key, line] : settings) {
        EXPECT_EQ(again.at(key).value, line.value) << key;
        EXPECT_THAT(again.at(key).remark, testing::StartsWith(line.value.empty() ? "default: absent" : "set")) << key;
    }
}

TEST(SettingsCommand, CheckReportsEachMistakeWithItsPlaceAndASuggestion) {
    const TempDir folder;
    struct Row {
        const char* content;
        const char* line;  // after the file; empty: no mistake
    };
    const std::string policy = "[config.cades.ocsppolicy]\n";
    for (const Row& row : {
             Row{"", ""},
             Row{"AlowedOCSPs = []",
                 ":2:1: AlowedOCSPs is not a setting of [config.cades.ocsppolicy]; did you mean "
                 "AllowedOCSPs?"},
             Row{"nonceLength = 8",
                 ":2:1: nonceLength is not a setting of [config.cades.ocsppolicy]; upper and lower "
                 "case matter: write NonceLength"},
             Row{"enabled = true", "enabled belongs in [trace]"},
             Row{"max_redirect = 3", "did you mean max_redirects of [crypto]?"},
             Row{"zzz = 3", "tallow settings shows the keys that exist"},
             Row{"\"Nonce\\\\Length\\u001b\" = 8", ":2:1: Nonce?Length? is not a setting"},
             Row{"  NonceLength = '8'", ":2:3: NonceLength must be a whole number"},
             Row{"NonceLength = 8.0", ":2:1: NonceLength must be a whole number"},
             Row{"DisableNonce = 'no'", ":2:1: DisableNonce must be true or false; write DisableNonce = false"},
             Row{"DisableNonce = 1\nAllowedOCSPs = 'http://a/'", ""},
             Row{"AllowedOCSPs = [1]", ":2:1: AllowedOCSPs must be a list of texts"},
             Row{"DefaultProxy = ['a']", ":2:1: DefaultProxy must be a text in quotes"},
             Row{"NonceLength = 65536",
                 ":2:1: NonceLength is 65536, which is out of range and used all the same; write "
                 "0 to 65535"},
             Row{"AuthTypeDefault = 3", "8 (digest)"},
             Row{"CertIDHashAlg = 'sha256'", "\"sha256\" is no hash"},
             Row{"CertIDHashAlg = '2.16.840.1.101.3.4.2.1 comment'", ""},
             Row{"ThisUpdateAccuracy = 'D'", "\"D\" is no interval"},
             Row{"DeniedOCSPs = ['http://a/', 'u:p@a']", "\"***@a\" is no address"},
             Row{"AllowedProxies = ['', 'proxy:3128']", ""},
             Row{"NocheckOCSPs = ['00:11']", "\"00:11\" is no SHA-1 thumbprint"},
             Row{"NocheckOCSPs = ['0011223344 5566778899 aabbccddee ff00112233']", ""},
             Row{"[crypto]\nmax_redirects = 21",
                 ":3:1: max_redirects is 21, which is out of range and ignored; write 0 "
                 "to 20"},
             Row{"[crypto]\nrequired_policies = ['any']", "\"any\" is no OID"},
             Row{"[crypto]\nmachine_stores = 'stores'", "\"stores\" is no absolute path"},
             Row{"[crypto.max_redirects]\nx = 1", ":2:9: max_redirects must be a whole number"},
             Row{"[Crypto]\nx = 1", ":2:2: [Crypto] is not a table of settings; did you mean [crypto]?"},
             Row{"[ocsppolicy]\nx = 1", "did you mean [config.cades.ocsppolicy]?"},
             Row{"[other]\nx = 1", "the tables are [config.cades.ocsppolicy], [config.Basalt]"},
             Row{"[[crypto]]\nx = 1", ":2:3: [crypto] must be a table"},
             Row{"[crypto\n", ":2:8: "},
         }) {
        SCOPED_TRACE(row.content);
        const std::string file = folder.write("settings.toml", policy + row.content + "\n");
        const ProcessResult run = Command::plain({"settings", "--check", file});
        if (*row.line != '\0') {
            expectMistake(run, row.line);
            EXPECT_THAT(run.err, testing::HasSubstr(file + ":"));
        } else {
            EXPECT_EQ(run.out, file + ": no mistakes\n") << run.err;
            EXPECT_EQ(run.exitStatus, 0);
        }
    }
    const std::string two = folder.write("two.toml", "b = 1\na = 2\n");
    const ProcessResult run = Command::plain({"settings", "--check", "--json", "--settings", two});
    EXPECT_THAT(run.err, testing::AllOf(testing::HasSubstr("two.toml:1:1: b"), testing::HasSubstr("two.toml:2:1: a")));
    EXPECT_THAT(run.out, testing::HasSubstr("\"line\": \"2\""));
    expectMistake(Command::plain({"settings", "--check", folder.file("missing.toml")}), "missing.toml: ");
    expectMistake(Command::plain({"settings", "--check", two, "--settings", two}), "name one file");
    const std::string keyless = folder.write("keyless.toml", "[crypto]\ncache = 'rediss://cache.example'\n");
    expectOneLine(Command::plain({"settings", "--check", keyless}), 0,
                  {"keyless.toml: without cache_key_file", "rediss://cache.example", "openssl rand -hex 32"});
    const std::string keyed = folder.write(
        "keyed.toml", "[crypto]\ncache = 'rediss://cache.example'\ncache_key_file = '/etc/tallow/cache.key'\n");
    EXPECT_EQ(Command::plain({"settings", "--check", keyed}).err, "");
}

// A misspelt list would otherwise be ignored without a word.
TEST(SettingsCommand, EveryRunWarnsOnceOfKeysWithoutEffect) {
    const HttpServer server = serverOf(goodResponse());
    const Command tallow("max_Redirects = 3\n[config.cades.ocsppolicy]\nAlowedOCSPs = []\n");
    const std::string leaf = tallow.file("leaf.pem", certs().good);
    for (const auto& run : {tallow.check({"--no-nonce", "--url", server.url(), leaf, leaf}), tallow.with({"settings"}),
                            tallow.with({"store", "list", "ROOT"})}) {
        expectOneLine(run, 0,
                      {"settings.toml:", "max_Redirects is not a setting", "It and 1 more have no effect",
                       "tallow settings --check"});
    }
    const Command one("[config.cades.ocsppolicy]\nAlowedOCSPs = []\n");
    expectOneLine(one.with({"settings"}), 0, {"did you mean AllowedOCSPs? It has no effect"});
}

TEST(SettingsCommand, JsonNamesFileAndLine) {
    const TempDir folder;
    const std::string file = folder.write("settings.toml", "[config.cades.ocsppolicy]\n\nDefaultProxy = 'u:p@proxy'\n");
    const ProcessResult run = Command::plain({"settings", "--json", "--settings", file});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_THAT(run.out, testing::HasSubstr("\"value\": \"\\\"***@proxy\\\"\",\n      \"source\": \"file\",\n"
                                            "      \"default\": \"\\\"\\\"\",\n      \"file\": \"" +
                                            file + "\",\n      \"line\": \"3\""));
}

TEST(SettingsCommand, RejectsABrokenFileAndValuesOfTheWrongType) {
    const TempDir folder;
    for (const char* content : {"[crypto\n", "[trace]\nlevels = \"all\"\n"}) {
        expectMistake(Command::plain({"settings", "--settings", folder.write("broken.toml", content)}), "broken.toml:");
    }
}

// Also a value that nothing would read in this run: the administrator meant something by it.
TEST(Settings, OfTheWrongTypeEndEveryCommandAtItsStart) {
    const HttpServer server = serverOf(goodResponse());
    for (const char* content : {"max_crl_age = 'x'", "max_redirects = 'x'", "accept_sha1 = 'yes'",
                                "[trace]\nlevels = '1'", "[config.cades.ocsppolicy]\nNocheckOCSPs = 5"}) {
        SCOPED_TRACE(content);
        const Command tallow(std::string(content) + '\n');
        const std::string root = tallow.file("root.pem", certs().root);
        const std::string response = tallow.file("response.der", buildResponse(goodResponse()));
        const std::string leaf = tallow.file("leaf.pem", certs().good);
        for (const ProcessResult& run :
             {tallow.check({"--no-nonce", "--url", server.url(), leaf}),
              tallow.with({"verify", "--trust", root, response}), tallow.with({"store", "list", "CA"})}) {
            expectMistake(run, "settings.toml:");
        }
    }
}

}  // namespace
